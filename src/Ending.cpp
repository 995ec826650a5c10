#include "Ending.h"

#include "FrameGate.h"
#include "Log.h"
#include "Trouble.h"
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <exception>
#include <glib-unix.h>
#include <iostream>
#include <thread>
#include <unistd.h>
#include <X11/Xlib.h>

namespace {

std::atomic<std::thread::id> sEnder{};
SEndingDuties sDuties; // written before there is a second thread

void keepFramesOut()
{
    frameGate().enterForGood();
}

void finaliseRecordings()
{
    if (sDuties.finaliseRecordings)
        sDuties.finaliseRecordings();
}

void leaveCamera()
{
    if (sDuties.leaveCamera)
        sDuties.leaveCamera();
}

void flushOutput()
{
    std::cout.flush();
    fflush(nullptr);
}

constexpr void (*sSteps[])() = {keepFramesOut, finaliseRecordings, leaveCamera, libobribase::logClose, flushOutput};
size_t sNextStep = 0; // of the ending thread

/// Whatever a step meets, those after it are taken.
void takeStep(void (*step)())
{
    try {
        step();
    } catch (const std::exception& failure) {
        fprintf(stderr, "The program's end met an error: %s\n", failure.what());
    }
}

/// Claims the ending for this thread, also when it has it already: a step that failed fatally comes back here.
bool claimEnding()
{
    std::thread::id nobody{};
    return sEnder.compare_exchange_strong(nobody, std::this_thread::get_id()) || nobody == std::this_thread::get_id();
}

[[noreturn]] void waitForEnd()
{
    frameGate().abandon(); // the ending thread may be waiting for it
    for (;;)
        std::this_thread::sleep_for(std::chrono::hours(1));
}

gboolean onSignal(gpointer number)
{
    endProcess(128 + GPOINTER_TO_INT(number));
}

/// Called by Xlib inside any of its functions; it ends the process should this return.
int onDisplayLost(Display*)
{
    sayTrouble('E', "The display was lost: the program ends");
    endProcess(1);
}

bool isIgnored(int number)
{
    struct sigaction action {};
    return sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

} // namespace

void setEndingDuties(const SEndingDuties& duties)
{
    sDuties = duties;
}

void endProcess(int status)
{
    if (!claimEnding())
        waitForEnd();
    while (sNextStep < std::size(sSteps))
        takeStep(sSteps[sNextStep++]);
    _exit(status);
}

void endOnSignals()
{
    for (int number : {SIGINT, SIGTERM, SIGHUP}) {
        if (number != SIGHUP || !isIgnored(SIGHUP)) // who started the program under nohup wants it to stay
            g_unix_signal_add(number, onSignal, GINT_TO_POINTER(number));
    }
    // These end a process in the middle of a recording; ignored, the write fails and says so.
    signal(SIGPIPE, SIG_IGN);
    signal(SIGXFSZ, SIG_IGN);
}

void endOnLostDisplay()
{
    XSetIOErrorHandler(onDisplayLost); // in place of GTK's, which leaves at once and loses what is being recorded
}

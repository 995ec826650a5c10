#include "Log.h"

#include "DateTime.h"
#include "LineQueue.h"
#include "Semaphore.h"
#include "TextFormat.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

namespace libobribase {

namespace {

constexpr size_t sMaxFormatted = 1023; // bytes of a text that was put together from parts

FILE* sLogFile = nullptr;
LineQueue* sQueue = nullptr; // while lines are written behind

// Guards both. Never destroyed, nor is the queue but by logClose: the streaming thread logs until the process ends, and
// the application's destructor runs among those of static objects.
Semaphore& semaphore()
{
    static auto* sSemaphore = new Semaphore;
    return *sSemaphore;
}

void closeFile()
{
    const SemaphoreGuard guard(semaphore());
    delete std::exchange(sQueue, nullptr);
    if (sLogFile)
        fclose(sLogFile);
    sLogFile = nullptr;
}

std::string todaysFileName()
{
    DateTime now;
    DateTime::Now(&now);
    char name[64];
    snprintf(name, sizeof name, "obri_app_log_%04d_%02d_%02d.txt", now.year, now.month, now.day);
    return name;
}

void logParts(std::string text, const std::string& more)
{
    text += ' ';
    text += more;
    if (text.size() > sMaxFormatted)
        text.resize(sMaxFormatted);
    logString(text);
}

} // namespace

void logOpen(const std::string& directory, char)
{
    if (directory.empty()) {
        logClose();
        return;
    }
    closeFile();
    const std::string name = todaysFileName();
    FILE* file = fopen(name.c_str(), "ae");
    if (!file) {
        const int error = errno;
        fprintf(stderr, "Failed to open log file %s (%s)\n", name.c_str(), strerror(error));
        return;
    }
    {
        const SemaphoreGuard guard(semaphore());
        sLogFile = file;
    }
    logString("I ---------- Application started ----------");
}

void logWriteBehind()
{
    const SemaphoreGuard guard(semaphore());
    if (sLogFile && !sQueue)
        sQueue = LineQueue::Start(sLogFile).release();
}

void logClose()
{
    logString("I ---------- Closing Log File ----------");
    closeFile();
}

void logString(const std::string& text)
{
    DateTime now;
    DateTime::Now(&now);
    char stamp[64];
    snprintf(stamp, sizeof stamp, "%04d-%02d-%02d %02d:%02d:%02d.%03d  ", now.year, now.month, now.day, now.hour,
             now.minute, now.second, now.milliseconds);
    const std::string line = stamp + text + '\n';
    const SemaphoreGuard guard(semaphore());
    if (sQueue) {
        sQueue->Add(line);
    } else if (sLogFile) {
        fputs(line.c_str(), sLogFile);
        fflush(sLogFile);
    }
}

void logStringInt(const std::string& text, int value)
{
    logParts(text, std::to_string(value));
}

void logStringIntInt(const std::string& text, int value, int second)
{
    logParts(text, std::to_string(value) + ' ' + std::to_string(second));
}

void logStringDouble(const std::string& text, double value)
{
    logParts(text, formatFixed(value, 3));
}

void logStringString(const std::string& text, const std::string& more)
{
    logParts(text, more);
}

} // namespace libobribase

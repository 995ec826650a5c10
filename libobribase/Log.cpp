#include "Log.h"

#include "DateTime.h"
#include "Semaphore.h"
#include "TextFormat.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace libobribase {

namespace {

constexpr size_t sMaxFormatted = 1023; // bytes of a text that was put together from parts

FILE* sLogFile = nullptr;

// Guards sLogFile. Never destroyed: the streaming thread logs until the process ends.
Semaphore& semaphore()
{
    static auto* sSemaphore = new Semaphore;
    return *sSemaphore;
}

void closeFile()
{
    const SemaphoreGuard guard(semaphore());
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

void logClose()
{
    logString("I ---------- Closing Log File ----------");
    closeFile();
}

void logString(const std::string& text)
{
    DateTime now;
    DateTime::Now(&now);
    const SemaphoreGuard guard(semaphore());
    if (!sLogFile)
        return;
    fprintf(sLogFile, "%04d-%02d-%02d %02d:%02d:%02d.%03d  %s\n", now.year, now.month, now.day, now.hour, now.minute,
            now.second, now.milliseconds, text.c_str());
    fflush(sLogFile);
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

#include "Trouble.h"

#include "Log.h"
#include "StreamStatus.h"
#include <cstdio>

void sayTrouble(const std::string& line)
{
    fprintf(stderr, "%s\n", line.c_str());
    libobribase::logString("W " + line);
    reportTrouble(line);
}

#include "Trouble.h"

#include "Log.h"
#include "StreamStatus.h"
#include <cstdio>

void sayTrouble(char level, const std::string& line)
{
    fprintf(stderr, "%s\n", line.c_str());
    libobribase::logString(std::string{level, ' '} + line);
    reportTrouble(line);
}

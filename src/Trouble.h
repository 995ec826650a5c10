#pragma once

#include <string>

/// Says what went wrong: one line on standard error, one in the log behind its level letter ('W' or 'E'), and the
/// window's line of trouble. Any thread.
void sayTrouble(char level, const std::string& line);

#pragma once

#include <string>

/// Says that something went wrong that the program lives on with: one line on standard error, one in the log, and the
/// window's line of trouble. Any thread.
void sayTrouble(const std::string& line);

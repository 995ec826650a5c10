#pragma once

#include "Program.h"

/// What a program must be told at its start so that its window can be read.
std::vector<std::pair<std::string, std::string>> readable();

/// Everything that the window says, as a screen reader would be told it: the names of its controls and the texts of
/// its labels, one a line.
std::string windowTexts();

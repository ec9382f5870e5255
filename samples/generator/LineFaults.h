#pragma once

#include <string>

// Writes the line fault records into folder/line-faults/ and prints what they hold.
void writeLineFaults(const std::string& folder);

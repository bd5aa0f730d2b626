// The table that the program prints, a line as soon as its figure is known.
#pragma once

#include <string>

#include "bench/Figure.h"

namespace bench {

void PrintHead();
void PrintLine(const Figure& figure, const Measurement& measurement);
void PrintSkipped(const Figure& figure, const std::string& reason);
void PrintFailure(const Figure& figure, const std::string& reason);

}  // namespace bench

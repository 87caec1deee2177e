// printf-style text appended to a string, of any length.
#pragma once

#include <string>

namespace abrsim {

void Appendf(std::string& text, const char* format, ...) __attribute__((format(printf, 2, 3)));

}  // namespace abrsim

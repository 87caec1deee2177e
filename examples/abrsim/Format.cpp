#include "Format.h"

#include <cstdarg>
#include <cstdio>

namespace abrsim {

void Appendf(std::string& text, const char* format, ...) {
  va_list args;
  va_start(args, format);
  va_list again;
  va_copy(again, args);
  const int size = std::vsnprintf(nullptr, 0, format, args);
  va_end(args);
  if (size > 0) {
    const size_t at = text.size();
    text.resize(at + static_cast<size_t>(size) + 1);
    std::vsnprintf(&text[at], static_cast<size_t>(size) + 1, format, again);
    text.resize(at + static_cast<size_t>(size));
  }
  va_end(again);
}

}  // namespace abrsim

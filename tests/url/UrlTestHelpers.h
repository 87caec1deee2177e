// Small helpers shared by the URL tests.
#pragma once

#include <string>

#include "string16.h"
#include "url_parse.h"

namespace urltest {

inline string16 W(const std::string& ascii) { return base::ASCIIToUTF16(ascii); }

// The text of |comp| in |spec|; "<absent>" for a reset component.
inline std::string Part(const std::string& spec, const url_parse::Component& comp) {
  if (comp.len == -1) return "<absent>";
  return spec.substr(comp.begin, comp.len);
}

}  // namespace urltest

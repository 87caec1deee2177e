// A canonicaliser output that writes straight into a std::string.
#pragma once

#include <string>

#include "url_canon.h"

namespace url_canon {

// The whole capacity of the string is used as the buffer: the string is resized to its capacity
// on set-up, so Complete() must be called before the string is read.
class StdStringCanonOutput : public CanonOutputT<char> {
 public:
  // Appends to what |str| already holds.
  explicit StdStringCanonOutput(std::string* str);
  ~StdStringCanonOutput() override;

  // Cuts the string down to what was written.
  void Complete();

  void Resize(int sz) override;

 protected:
  std::string* m_str;
};

}  // namespace url_canon

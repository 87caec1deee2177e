/// \file
/// A canonicaliser output that writes straight into a std::string.
#pragma once

#include <string>

#include "url_canon.h"

namespace url_canon {

/// An output that writes into a std::string, appending to what it holds. The whole capacity of the
/// string is used as the buffer: the string is resized to its capacity on set-up, so Complete()
/// must be called before the string is read.
class StdStringCanonOutput : public CanonOutputT<char> {
 public:
  /// Writes into `str` (not owned), after its present text.
  explicit StdStringCanonOutput(std::string* str);
  /// Leaves the string as it is: Complete() first.
  ~StdStringCanonOutput() override;

  /// Cuts the string down to what was written.
  void Complete();

  /// Resizes the string itself to `sz`.
  void Resize(int sz) override;

 protected:
  std::string* m_str;  ///< the string written into
};

}  // namespace url_canon

/// \file
/// Creates and releases the handle objects: the only code that allocates or frees them.
#pragma once

#include "ICurlEasy.h"
#include "ICurlMulti.h"

namespace strmcommon {

/// Where the download engine gets its handle objects. Curl owns one factory and takes a new easy
/// object for every transfer; tests hand in a factory of substitutes.
class ICurlFactory {
 public:
  /// Virtual, for the implementing class.
  virtual ~ICurlFactory() {}
  /// A new easy object. May throw when no handle can be had.
  virtual ICurlEasy* CreateCurlEasy() = 0;
  /// A new multi object. May throw when no handle can be had.
  virtual ICurlMulti* CreateCurlMulti() = 0;
  /// Releases an easy object; a null pointer is ignored.
  virtual void ReleaseCurlEasy(ICurlEasy* easy) = 0;
  /// Releases a multi object; a null pointer is ignored.
  virtual void ReleaseCurlMulti(ICurlMulti* multi) = 0;
};

}  // namespace strmcommon

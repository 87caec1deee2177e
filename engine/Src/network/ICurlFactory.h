// Creates and releases the handle objects: the only code that allocates or frees them.
#pragma once

#include "ICurlEasy.h"
#include "ICurlMulti.h"

namespace strmcommon {

class ICurlFactory {
 public:
  virtual ~ICurlFactory() {}
  virtual ICurlEasy* CreateCurlEasy() = 0;
  virtual ICurlMulti* CreateCurlMulti() = 0;
  // A null pointer is ignored.
  virtual void ReleaseCurlEasy(ICurlEasy* easy) = 0;
  virtual void ReleaseCurlMulti(ICurlMulti* multi) = 0;
};

}  // namespace strmcommon

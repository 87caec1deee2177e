/// \file
/// The factory over the concrete handle classes, given as template parameters.
#pragma once

#include "ICurlFactory.h"

namespace strmcommon {

/// An ICurlFactory that makes `Easy` and `Multi` objects with new and frees them with delete.
/// The engine uses ConcreateCurlFactory<CurlEasy, CurlMulti>. No data, no lock.
template <typename Easy, typename Multi>
class ConcreateCurlFactory : public ICurlFactory {
 public:
  /// A new `Easy`. Its constructor throws when it gets no handle; the memory is freed and the
  /// exception passes.
  ICurlEasy* CreateCurlEasy() override { return new Easy(); }
  /// A new `Multi`, the same way.
  ICurlMulti* CreateCurlMulti() override { return new Multi(); }
  /// delete; null is ignored.
  void ReleaseCurlEasy(ICurlEasy* easy) override { delete easy; }
  /// delete; null is ignored.
  void ReleaseCurlMulti(ICurlMulti* multi) override { delete multi; }
};

}  // namespace strmcommon

/// \file
/// The factory over the concrete handle classes, given as template parameters.
#pragma once

#include "ICurlFactory.h"

namespace strmcommon {

class CurlEasy;
class CurlMulti;

/// An ICurlFactory that makes `Easy` and `Multi` objects with new and frees them with delete.
/// The engine uses ConcreateCurlFactory<CurlEasy, CurlMulti>, the one instantiation, built into
/// the library. No data, no lock.
template <typename Easy, typename Multi>
class ConcreateCurlFactory : public ICurlFactory {
 public:
  /// Nothing to release.
  ~ConcreateCurlFactory() override;
  /// A new `Easy`. Its constructor throws when it gets no handle; the memory is freed and the
  /// exception passes.
  ICurlEasy* CreateCurlEasy() override;
  /// A new `Multi`, the same way.
  ICurlMulti* CreateCurlMulti() override;
  /// delete; null is ignored.
  void ReleaseCurlEasy(ICurlEasy* easy) override;
  /// delete; null is ignored.
  void ReleaseCurlMulti(ICurlMulti* multi) override;
};

// The one instantiation there is, built into the library.
extern template class ConcreateCurlFactory<CurlEasy, CurlMulti>;

}  // namespace strmcommon

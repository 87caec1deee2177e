// The factory over the concrete handle classes, given as template parameters.
#pragma once

#include "ICurlFactory.h"

namespace strmcommon {

class CurlEasy;
class CurlMulti;

template <typename Easy, typename Multi>
class ConcreateCurlFactory : public ICurlFactory {
 public:
  ~ConcreateCurlFactory() override;
  // A constructor that gets no handle throws; new frees the memory and lets it pass.
  ICurlEasy* CreateCurlEasy() override;
  ICurlMulti* CreateCurlMulti() override;
  void ReleaseCurlEasy(ICurlEasy* easy) override;
  void ReleaseCurlMulti(ICurlMulti* multi) override;
};

// The one instantiation there is, built into the library.
extern template class ConcreateCurlFactory<CurlEasy, CurlMulti>;

}  // namespace strmcommon

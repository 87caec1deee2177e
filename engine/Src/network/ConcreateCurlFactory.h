// The factory over the concrete handle classes, given as template parameters.
#pragma once

#include "ICurlFactory.h"

namespace strmcommon {

template <typename Easy, typename Multi>
class ConcreateCurlFactory : public ICurlFactory {
 public:
  // A constructor that gets no handle throws; new frees the memory and lets it pass.
  ICurlEasy* CreateCurlEasy() override { return new Easy(); }
  ICurlMulti* CreateCurlMulti() override { return new Multi(); }
  void ReleaseCurlEasy(ICurlEasy* easy) override { delete easy; }
  void ReleaseCurlMulti(ICurlMulti* multi) override { delete multi; }
};

}  // namespace strmcommon

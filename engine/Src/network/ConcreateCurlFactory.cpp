// The factory's operations and its one instantiation, over the libcurl handle classes.
#include "ConcreateCurlFactory.h"

#include "CurlEasy.h"
#include "CurlMulti.h"

namespace strmcommon {

template <typename Easy, typename Multi>
ConcreateCurlFactory<Easy, Multi>::~ConcreateCurlFactory() {}

template <typename Easy, typename Multi>
ICurlEasy* ConcreateCurlFactory<Easy, Multi>::CreateCurlEasy() {
  return new Easy();
}

template <typename Easy, typename Multi>
ICurlMulti* ConcreateCurlFactory<Easy, Multi>::CreateCurlMulti() {
  return new Multi();
}

// delete of a null pointer does nothing, as the interface asks.
template <typename Easy, typename Multi>
void ConcreateCurlFactory<Easy, Multi>::ReleaseCurlEasy(ICurlEasy* easy) {
  delete easy;
}

template <typename Easy, typename Multi>
void ConcreateCurlFactory<Easy, Multi>::ReleaseCurlMulti(ICurlMulti* multi) {
  delete multi;
}

template class ConcreateCurlFactory<CurlEasy, CurlMulti>;

}  // namespace strmcommon

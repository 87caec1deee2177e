/// \file
/// One finished transfer as the multi handle reports it.
#pragma once

#include <curl/curl.h>

namespace strmcommon {

/// What ICurlMulti::InfoRead delivers of a finished transfer. The two address texts are libcurl's
/// own memory, valid while the easy handle stays unchanged; the record does not own them.
struct CurlMsg {
  CURLMSG msg;      ///< the message kind; only CURLMSG_DONE reaches a caller
  void* unit;       ///< the CURLOPT_PRIVATE pointer: the transfer's UnitObject
  CURLcode result;  ///< the transfer's libcurl result
  CURL* easy;       ///< the raw easy handle
  char* primaryIp;  ///< CURLINFO_PRIMARY_IP, the remote address
  char* localIp;    ///< CURLINFO_LOCAL_IP, the local address
};

}  // namespace strmcommon

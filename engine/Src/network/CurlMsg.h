// One finished transfer as the multi handle reports it.
#pragma once

#include <curl/curl.h>

namespace strmcommon {

struct CurlMsg {
  CURLMSG msg;
  // The CURLOPT_PRIVATE pointer: the transfer's UnitObject.
  void* unit;
  CURLcode result;
  CURL* easy;
  // libcurl's own strings, valid while the easy handle stays unchanged; not owned.
  char* primaryIp;
  char* localIp;
};

}  // namespace strmcommon

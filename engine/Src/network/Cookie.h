/// \file
/// One cookie of the pool: a node of a singly linked list whose strings live on the heap.
#pragma once

#include <cstdint>

namespace strmcommon {

/// One cookie. Every char* is owned by its record (malloc'd, may be null) and released by
/// CHttpCookie::freecookie. Lists returned by CHttpCookie::getCookieEntryFromList hold shallow
/// copies that share the strings of the pool.
struct Cookie {
  Cookie* next;         ///< next record, null at the end
  char* name;           ///< a stored cookie always has one
  char* value;          ///< the value, possibly empty
  char* path;           ///< as received
  char* sanitizedPath;  ///< path after sanitize_cookie_path
  char* domain;         ///< without a leading dot
  int64_t expires;      ///< pseudo UTC seconds of expiry; 0 is a session cookie
  char* expiresText;    ///< the expires attribute as received
  bool tailmatch;       ///< the domain also matches its subdomains
  char* version;        ///< the version attribute as received
  char* maxAgeText;     ///< the max-age attribute as received
  bool secure;          ///< send on https only
  bool liveFlag;        ///< never set
  bool httponly;        ///< kept and saved; has no effect on sending
};

}  // namespace strmcommon

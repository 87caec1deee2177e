/// \file
/// Records of the variant table and of the application's bitrate limit list.
#pragma once

namespace strmcommon {

/// One variant stream of a master playlist; copied as plain bytes.
struct _VariantData {
  int bandwidth;  ///< declared bandwidth, bits per second
  int width;      ///< picture width in pixels
  int height;     ///< picture height in pixels
  int reserved;   ///< carried along for the engine, never read here
};

/// One entry of the limit list: the variant bandwidth it describes, and its groups.
struct bitrateParam_t {
  int bitrate;       ///< lookup key, matched exactly against a variant's bandwidth
  int group;         ///< moves inside a group are free
  int upgradeGroup;  ///< groups sharing this value may be upgraded between; others never are
};

}  // namespace strmcommon

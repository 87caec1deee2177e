// IPv4 and IPv6 addresses: recognition and canonical text.
#include <cstdint>

#include "url_canon_internal.h"

namespace url_canon {

namespace {

template <typename CHAR, typename UCHAR>
bool DoFindIPv4Components(const CHAR* spec, const url_parse::Component& host,
                          url_parse::Component components[4]) {
  if (host.len <= 0) return false;

  int curComponent = 0;
  int curComponentBegin = host.begin;
  int end = host.end();
  for (int i = host.begin; /* nothing */; i++) {
    if (i >= end || spec[i] == '.') {
      int componentLen = i - curComponentBegin;
      components[curComponent] = url_parse::Component(curComponentBegin, componentLen);
      curComponentBegin = i + 1;
      curComponent++;

      // No empty component between dots; an empty last one stands for a trailing dot, but not
      // when it would be the only one.
      if (componentLen == 0 && (i < end || curComponent == 1)) return false;

      if (i >= end) break;

      if (curComponent == 4) {
        // A fifth component is refused, except for a single trailing dot.
        if (spec[i] == '.' && i + 1 == end) break;
        return false;
      }
    } else if (static_cast<UCHAR>(spec[i]) >= 0x80 ||
               !IsIPv4Char(static_cast<unsigned char>(spec[i]))) {
      return false;
    }
  }

  while (curComponent < 4) components[curComponent++] = url_parse::Component();
  return true;
}

template <typename CHAR>
CanonHostInfo::Family IPv4ComponentToNumber(const CHAR* spec, const url_parse::Component& component,
                                            uint32_t* number) {
  SharedCharTypes base;
  int basePrefixLen = 0;
  if (spec[component.begin] == '0') {
    if (component.len == 1) {
      base = CHAR_DEC;
    } else if (spec[component.begin + 1] == 'X' || spec[component.begin + 1] == 'x') {
      base = CHAR_HEX;
      basePrefixLen = 2;
    } else {
      base = CHAR_OCT;
      basePrefixLen = 1;
    }
  } else {
    base = CHAR_DEC;
  }

  while (basePrefixLen < component.len && spec[component.begin + basePrefixLen] == '0')
    basePrefixLen++;

  // Leading zeros are gone, so 16 digits always overflow 32 bits; any further ones are checked
  // for their radix but dropped.
  const int kMaxComponentLen = 16;
  char buf[kMaxComponentLen];
  int destI = 0;
  for (int i = component.begin + basePrefixLen; i < component.end(); i++) {
    char input = static_cast<char>(spec[i]);
    if (!IsCharOfType(static_cast<unsigned char>(input), base)) return CanonHostInfo::NEUTRAL;
    if (destI < kMaxComponentLen) buf[destI++] = input;
  }

  // At most 16 digits: even in hexadecimal the value fits 64 bits.
  unsigned long long radix = base == CHAR_HEX ? 16 : (base == CHAR_OCT ? 8 : 10);
  unsigned long long num = 0;
  for (int i = 0; i < destI; i++) num = num * radix + HexCharToValue(buf[i]);
  if (num > 0xFFFFFFFFull) return CanonHostInfo::BROKEN;
  *number = static_cast<uint32_t>(num);
  return CanonHostInfo::IPV4;
}

template <typename CHAR, typename UCHAR>
CanonHostInfo::Family DoIPv4AddressToNumber(const CHAR* spec, const url_parse::Component& host,
                                            unsigned char address[4], int* numIpv4Components) {
  url_parse::Component components[4];
  if (!DoFindIPv4Components<CHAR, UCHAR>(spec, host, components)) return CanonHostInfo::NEUTRAL;

  uint32_t componentValues[4];
  int existingComponents = 0;
  for (int i = 0; i < 4; i++) {
    if (components[i].len <= 0) continue;
    CanonHostInfo::Family family =
        IPv4ComponentToNumber(spec, components[i], &componentValues[existingComponents]);
    if (family != CanonHostInfo::IPV4) return family;
    existingComponents++;
  }

  // All but the last component are single bytes; the last fills the remaining bytes.
  for (int i = 0; i < existingComponents - 1; i++) {
    if (componentValues[i] > 255) return CanonHostInfo::BROKEN;
    address[i] = static_cast<unsigned char>(componentValues[i]);
  }
  uint32_t lastValue = componentValues[existingComponents - 1];
  for (int i = 3; i >= existingComponents - 1; i--) {
    address[i] = static_cast<unsigned char>(lastValue);
    lastValue >>= 8;
  }
  if (lastValue != 0) return CanonHostInfo::BROKEN;

  *numIpv4Components = existingComponents;
  return CanonHostInfo::IPV4;
}

void AppendIPv4Address(const unsigned char address[4], CanonOutput* output) {
  for (int i = 0; i < 4; i++) {
    AppendDecimal(address[i], output);
    if (i != 3) output->push_back('.');
  }
}

// Where the hex groups, the "::" and an IPv4 tail lie in an IPv6 literal.
struct IPv6Parsed {
  void reset() {
    numHexComponents = 0;
    indexOfContraction = -1;
    ipv4Component.reset();
  }

  url_parse::Component hexComponents[8];
  int numHexComponents;
  int indexOfContraction;  // the group before which "::" stands, or -1
  url_parse::Component ipv4Component;
};

template <typename CHAR, typename UCHAR>
bool DoParseIPv6(const CHAR* spec, const url_parse::Component& host, IPv6Parsed* parsed) {
  parsed->reset();
  if (host.len <= 0) return false;

  int begin = host.begin;
  int end = host.end();
  int curComponentBegin = begin;

  for (int i = begin; /* i <= end */; i++) {
    bool isColon = i < end && spec[i] == ':';
    bool isContraction = isColon && i < end - 1 && spec[i + 1] == ':';

    if (isColon || i == end) {
      int componentLen = i - curComponentBegin;
      if (componentLen > 4) return false;

      // Empty groups only for a "::" at the start or right before the end.
      if (componentLen == 0) {
        if (!((isContraction && i == begin) ||
              (i == end && parsed->indexOfContraction == parsed->numHexComponents)))
          return false;
      }

      if (componentLen > 0) {
        if (parsed->numHexComponents >= 8) return false;
        parsed->hexComponents[parsed->numHexComponents++] =
            url_parse::Component(curComponentBegin, componentLen);
      }
    }

    if (i == end) break;

    if (isContraction) {
      if (parsed->indexOfContraction != -1) return false;
      parsed->indexOfContraction = parsed->numHexComponents;
      ++i;  // the second colon
    }

    if (isColon) {
      curComponentBegin = i + 1;
    } else {
      if (static_cast<UCHAR>(spec[i]) >= 0x80) return false;
      if (!IsHexChar(static_cast<unsigned char>(spec[i]))) {
        // An IPv4 character starts the dotted tail, which runs to the end.
        if (IsIPv4Char(static_cast<unsigned char>(spec[i]))) {
          parsed->ipv4Component = url_parse::Component(curComponentBegin, end - curComponentBegin);
          break;
        }
        return false;
      }
    }
  }
  return true;
}

// Bytes given by the groups and tail, and what "::" must fill: the rest of 16 but at least 2.
bool CheckIPv6ComponentsSize(const IPv6Parsed& parsed, int* outNumBytesOfContraction) {
  int numBytesWithoutContraction = parsed.numHexComponents * 2;
  if (parsed.ipv4Component.is_valid()) numBytesWithoutContraction += 4;

  *outNumBytesOfContraction = 0;
  if (parsed.indexOfContraction != -1) {
    *outNumBytesOfContraction = 16 - numBytesWithoutContraction;
    if (*outNumBytesOfContraction < 2) *outNumBytesOfContraction = 2;
  }
  return numBytesWithoutContraction + *outNumBytesOfContraction == 16;
}

// A group has one to four hexadecimal digits, checked by the parse.
template <typename CHAR>
uint16_t IPv6HexComponentToNumber(const CHAR* spec, const url_parse::Component& component) {
  unsigned value = 0;
  for (int i = 0; i < component.len; ++i)
    value = value * 16 + HexCharToValue(static_cast<unsigned char>(spec[component.begin + i]));
  return static_cast<uint16_t>(value);
}

template <typename CHAR, typename UCHAR>
bool DoIPv6AddressToNumber(const CHAR* spec, const url_parse::Component& host,
                           unsigned char address[16]) {
  int end = host.end();
  if (host.len <= 0 || spec[host.begin] != '[' || spec[end - 1] != ']') return false;

  url_parse::Component ipv6Comp(host.begin + 1, host.len - 2);
  IPv6Parsed ipv6Parsed;
  if (!DoParseIPv6<CHAR, UCHAR>(spec, ipv6Comp, &ipv6Parsed)) return false;

  int numBytesOfContraction;
  if (!CheckIPv6ComponentsSize(ipv6Parsed, &numBytesOfContraction)) return false;

  int curIndexInAddress = 0;
  for (int i = 0; i <= ipv6Parsed.numHexComponents; ++i) {
    if (i == ipv6Parsed.indexOfContraction) {
      for (int j = 0; j < numBytesOfContraction; ++j) address[curIndexInAddress++] = 0;
    }
    if (i != ipv6Parsed.numHexComponents) {
      uint16_t number = IPv6HexComponentToNumber(spec, ipv6Parsed.hexComponents[i]);
      address[curIndexInAddress++] = static_cast<unsigned char>((number & 0xFF00) >> 8);
      address[curIndexInAddress++] = static_cast<unsigned char>(number & 0x00FF);
    }
  }

  if (ipv6Parsed.ipv4Component.is_valid()) {
    // Only the compatible (all zero) and mapped (0xffff) forms may carry an IPv4 tail.
    for (int j = 0; j < 10; ++j) {
      if (address[j] != 0) return false;
    }
    if (!((address[10] == 0 && address[11] == 0) || (address[10] == 0xFF && address[11] == 0xFF)))
      return false;

    int ignoredNumIpv4Components;
    if (CanonHostInfo::IPV4 != DoIPv4AddressToNumber<CHAR, UCHAR>(spec, ipv6Parsed.ipv4Component,
                                                                  &address[curIndexInAddress],
                                                                  &ignoredNumIpv4Components))
      return false;
  }
  return true;
}

// The first longest run of at least two zero groups, in bytes.
void ChooseIPv6ContractionRange(const unsigned char address[16],
                                url_parse::Component* contractionRange) {
  url_parse::Component maxRange;
  url_parse::Component curRange;
  for (int i = 0; i < 16; i += 2) {
    bool isZero = (address[i] == 0 && address[i + 1] == 0);
    if (isZero) {
      if (!curRange.is_valid()) curRange = url_parse::Component(i, 0);
      curRange.len += 2;
    }
    if (!isZero || i == 14) {
      if (curRange.len > 2 && curRange.len > maxRange.len) maxRange = curRange;
      curRange.reset();
    }
  }
  *contractionRange = maxRange;
}

void AppendIPv6Address(const unsigned char address[16], CanonOutput* output) {
  url_parse::Component contractionRange;
  ChooseIPv6ContractionRange(address, &contractionRange);

  for (int i = 0; i <= 14;) {
    if (i == contractionRange.begin && contractionRange.len > 0) {
      if (i == 0) output->push_back(':');
      output->push_back(':');
      i = contractionRange.end();
    } else {
      int x = address[i] << 8 | address[i + 1];
      i += 2;
      // Lower-case hex without leading zeros.
      bool started = false;
      for (int shift = 12; shift >= 0; shift -= 4) {
        int digit = (x >> shift) & 0xf;
        if (!digit && !started && shift) continue;
        started = true;
        output->push_back("0123456789abcdef"[digit]);
      }
      if (i < 16) output->push_back(':');
    }
  }
}

template <typename CHAR, typename UCHAR>
bool DoCanonicalizeIPv4Address(const CHAR* spec, const url_parse::Component& host,
                               CanonOutput* output, CanonHostInfo* hostInfo) {
  unsigned char address[4];
  hostInfo->m_family =
      DoIPv4AddressToNumber<CHAR, UCHAR>(spec, host, address, &hostInfo->m_ipv4Components);
  switch (hostInfo->m_family) {
    case CanonHostInfo::IPV4:
      hostInfo->m_hostRange.begin = output->length();
      AppendIPv4Address(address, output);
      hostInfo->m_hostRange.len = output->length() - hostInfo->m_hostRange.begin;
      return true;
    case CanonHostInfo::BROKEN:
      return true;
    default:
      return false;  // maybe IPv6, maybe a name
  }
}

template <typename CHAR, typename UCHAR>
bool DoCanonicalizeIPv6Address(const CHAR* spec, const url_parse::Component& host,
                               CanonOutput* output, CanonHostInfo* hostInfo) {
  unsigned char address[16];
  if (!DoIPv6AddressToNumber<CHAR, UCHAR>(spec, host, address)) {
    // Brackets and colons only belong in an IPv6 literal: a host holding one that isn't a valid
    // literal is broken. (A colon left in a host would turn into a port on the next parse.)
    for (int i = host.begin; i < host.end(); i++) {
      if (spec[i] == '[' || spec[i] == ']' || spec[i] == ':') {
        hostInfo->m_family = CanonHostInfo::BROKEN;
        return true;
      }
    }
    hostInfo->m_family = CanonHostInfo::NEUTRAL;
    return false;
  }

  hostInfo->m_hostRange.begin = output->length();
  output->push_back('[');
  AppendIPv6Address(address, output);
  output->push_back(']');
  hostInfo->m_hostRange.len = output->length() - hostInfo->m_hostRange.begin;
  hostInfo->m_family = CanonHostInfo::IPV6;
  return true;
}

template <typename CHAR, typename UCHAR>
void DoCanonicalizeIPAddress(const CHAR* spec, const url_parse::Component& host,
                             CanonOutput* output, CanonHostInfo* hostInfo) {
  if (DoCanonicalizeIPv4Address<CHAR, UCHAR>(spec, host, output, hostInfo)) return;
  if (DoCanonicalizeIPv6Address<CHAR, UCHAR>(spec, host, output, hostInfo)) return;
  hostInfo->m_family = CanonHostInfo::NEUTRAL;
}

}  // namespace

bool FindIPv4Components(const char* spec, const url_parse::Component& host,
                        url_parse::Component components[4]) {
  return DoFindIPv4Components<char, unsigned char>(spec, host, components);
}
bool FindIPv4Components(const char16* spec, const url_parse::Component& host,
                        url_parse::Component components[4]) {
  return DoFindIPv4Components<char16, char16>(spec, host, components);
}

CanonHostInfo::Family IPv4AddressToNumber(const char* spec, const url_parse::Component& host,
                                          unsigned char address[4], int* numIpv4Components) {
  return DoIPv4AddressToNumber<char, unsigned char>(spec, host, address, numIpv4Components);
}
CanonHostInfo::Family IPv4AddressToNumber(const char16* spec, const url_parse::Component& host,
                                          unsigned char address[4], int* numIpv4Components) {
  return DoIPv4AddressToNumber<char16, char16>(spec, host, address, numIpv4Components);
}

bool IPv6AddressToNumber(const char* spec, const url_parse::Component& host,
                         unsigned char address[16]) {
  return DoIPv6AddressToNumber<char, unsigned char>(spec, host, address);
}
bool IPv6AddressToNumber(const char16* spec, const url_parse::Component& host,
                         unsigned char address[16]) {
  return DoIPv6AddressToNumber<char16, char16>(spec, host, address);
}

void CanonicalizeIPAddress(const char* spec, const url_parse::Component& host, CanonOutput* output,
                           CanonHostInfo* hostInfo) {
  DoCanonicalizeIPAddress<char, unsigned char>(spec, host, output, hostInfo);
}
void CanonicalizeIPAddress(const char16* spec, const url_parse::Component& host,
                           CanonOutput* output, CanonHostInfo* hostInfo) {
  DoCanonicalizeIPAddress<char16, char16>(spec, host, output, hostInfo);
}

}  // namespace url_canon

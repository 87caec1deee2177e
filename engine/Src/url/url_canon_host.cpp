// Host names: escapes, lower case, IP addresses. Non-ASCII hosts can't be converted and are
// always invalid.
#include <type_traits>

#include "url_canon_internal.h"

namespace url_canon {

namespace {

template <typename CHAR, typename UCHAR>
void ScanHostname(const CHAR* spec, const url_parse::Component& host, bool* hasNonAscii,
                  bool* hasEscaped) {
  int end = host.end();
  *hasNonAscii = false;
  *hasEscaped = false;
  for (int i = host.begin; i < end; i++) {
    if (static_cast<UCHAR>(spec[i]) >= 0x80) {
      *hasNonAscii = true;
    } else if (spec[i] == '%') {
      *hasEscaped = true;
    }
  }
}

// Unescapes and maps each unit through kHostCharLookup. Units of 0x80 and above (raw or
// unescaped) are written as they are and reported through |hasNonAscii|.
template <typename INCHAR, typename OUTCHAR>
bool DoSimpleHost(const INCHAR* host, int hostLen, CanonOutputT<OUTCHAR>* output,
                  bool* hasNonAscii) {
  *hasNonAscii = false;
  bool success = true;
  for (int i = 0; i < hostLen; ++i) {
    unsigned int source = static_cast<typename std::make_unsigned<INCHAR>::type>(host[i]);
    if (source == '%') {
      unsigned char unescaped;
      // Without two hex digits the '%' stays a plain (and invalid) unit.
      if (DecodeEscaped(host, &i, hostLen, &unescaped)) source = unescaped;
    }

    if (source < 0x80) {
      unsigned char replacement = kHostCharLookup[source];
      if (!replacement) {
        AppendEscapedChar(source, output);
        success = false;
      } else if (replacement == kEsc) {
        AppendEscapedChar(source, output);
      } else {
        output->push_back(static_cast<OUTCHAR>(replacement));
      }
    } else {
      output->push_back(static_cast<OUTCHAR>(source));
      *hasNonAscii = true;
    }
  }
  return success;
}

// Hosts that would need internationalised-name conversion; IDNToASCII always fails.
bool DoIDNHost(const char16* src, int srcLen, CanonOutput* output) {
  RawCanonOutputW<1024> wideOutput;
  if (!IDNToASCII(src, srcLen, &wideOutput)) {
    AppendInvalidNarrowString(src, 0, srcLen, output);
    return false;
  }
  bool hasNonAscii;
  return DoSimpleHost(wideOutput.data(), wideOutput.length(), output, &hasNonAscii) && !hasNonAscii;
}

bool DoComplexHost(const char* host, int hostLen, bool hasNonAscii, bool hasEscaped,
                   CanonOutput* output) {
  int beginLength = output->length();

  const char* utf8Source;
  int utf8SourceLen;
  if (hasEscaped) {
    // Unescape into the output first; often nothing non-ASCII turns up and that is the result.
    if (!DoSimpleHost(host, hostLen, output, &hasNonAscii)) return false;
    if (!hasNonAscii) return true;
    utf8Source = &output->data()[beginLength];
    utf8SourceLen = output->length() - beginLength;
  } else {
    utf8Source = host;
    utf8SourceLen = hostLen;
  }

  RawCanonOutputW<1024> utf16;
  if (!ConvertUTF8ToUTF16(utf8Source, utf8SourceLen, &utf16)) {
    // The source may lie in the output itself, so it is copied away before the rewind.
    RawCanonOutput<1024> utf8;
    utf8.Append(utf8Source, utf8SourceLen);
    output->set_length(beginLength);
    AppendInvalidNarrowString(utf8.data(), 0, utf8.length(), output);
    return false;
  }
  output->set_length(beginLength);
  return DoIDNHost(utf16.data(), utf16.length(), output);
}

bool DoComplexHost(const char16* host, int hostLen, bool hasNonAscii, bool hasEscaped,
                   CanonOutput* output) {
  if (hasEscaped) {
    // Escapes are handled by the 8-bit path, which needs the text as UTF-8.
    RawCanonOutput<1024> utf8;
    if (!ConvertUTF16ToUTF8(host, hostLen, &utf8)) {
      AppendInvalidNarrowString(host, 0, hostLen, output);
      return false;
    }
    return DoComplexHost(utf8.data(), utf8.length(), hasNonAscii, hasEscaped, output);
  }
  return DoIDNHost(host, hostLen, output);
}

template <typename CHAR, typename UCHAR>
void DoHost(const CHAR* spec, const url_parse::Component& host, CanonOutput* output,
            CanonHostInfo* hostInfo) {
  if (host.len <= 0) {
    hostInfo->m_family = CanonHostInfo::NEUTRAL;
    hostInfo->m_hostRange = url_parse::Component();
    return;
  }

  bool hasNonAscii;
  bool hasEscaped;
  ScanHostname<CHAR, UCHAR>(spec, host, &hasNonAscii, &hasEscaped);

  const int outputBegin = output->length();
  bool success;
  if (!hasNonAscii && !hasEscaped) {
    success = DoSimpleHost(&spec[host.begin], host.len, output, &hasNonAscii);
  } else {
    success = DoComplexHost(&spec[host.begin], host.len, hasNonAscii, hasEscaped, output);
  }

  if (!success) {
    hostInfo->m_family = CanonHostInfo::BROKEN;
  } else {
    // An address is short enough for the inline storage.
    RawCanonOutput<64> canonIp;
    CanonicalizeIPAddress(output->data(), url_parse::MakeRange(outputBegin, output->length()),
                          &canonIp, hostInfo);
    if (hostInfo->IsIPAddress()) {
      output->set_length(outputBegin);
      output->Append(canonIp.data(), canonIp.length());
    }
  }
  hostInfo->m_hostRange = url_parse::MakeRange(outputBegin, output->length());
}

}  // namespace

bool CanonicalizeHost(const char* spec, const url_parse::Component& host, CanonOutput* output,
                      url_parse::Component* outHost) {
  CanonHostInfo hostInfo;
  DoHost<char, unsigned char>(spec, host, output, &hostInfo);
  *outHost = hostInfo.m_hostRange;
  return hostInfo.m_family != CanonHostInfo::BROKEN;
}

bool CanonicalizeHost(const char16* spec, const url_parse::Component& host, CanonOutput* output,
                      url_parse::Component* outHost) {
  CanonHostInfo hostInfo;
  DoHost<char16, char16>(spec, host, output, &hostInfo);
  *outHost = hostInfo.m_hostRange;
  return hostInfo.m_family != CanonHostInfo::BROKEN;
}

void CanonicalizeHostVerbose(const char* spec, const url_parse::Component& host,
                             CanonOutput* output, CanonHostInfo* hostInfo) {
  DoHost<char, unsigned char>(spec, host, output, hostInfo);
}

void CanonicalizeHostVerbose(const char16* spec, const url_parse::Component& host,
                             CanonOutput* output, CanonHostInfo* hostInfo) {
  DoHost<char16, char16>(spec, host, output, hostInfo);
}

}  // namespace url_canon

#include "gurl.h"

#include <pthread.h>

#include <algorithm>
#include <ostream>
#include <utility>

#include "url_canon_stdstring.h"
#include "url_util.h"

namespace {

// Both are made on first demand and never freed.
pthread_once_t empty_string_once = PTHREAD_ONCE_INIT;
const std::string* empty_string = nullptr;

pthread_once_t empty_gurl_once = PTHREAD_ONCE_INIT;
const GURL* empty_gurl = nullptr;

void EmptyStringForGURLOnce() { empty_string = new std::string; }

const std::string& EmptyStringForGURL() {
  pthread_once(&empty_string_once, EmptyStringForGURLOnce);
  return *empty_string;
}

void EmptyGURLOnce() { empty_gurl = new GURL; }

}  // namespace

GURL::GURL() : m_isValid(false) {}

GURL::GURL(const GURL& other)
    : m_spec(other.m_spec), m_isValid(other.m_isValid), m_parsed(other.m_parsed) {}

GURL::GURL(GURL&& other) noexcept
    : m_spec(std::move(other.m_spec)), m_isValid(other.m_isValid), m_parsed(other.m_parsed) {}

GURL::GURL(const std::string& urlString) : m_isValid(false) { InitCanonical(urlString); }

GURL::GURL(const string16& urlString) : m_isValid(false) { InitCanonical(urlString); }

GURL::GURL(const char* canonicalSpec, unsigned int canonicalSpecLen,
           const url_parse::Parsed& parsed, bool isValid)
    : m_spec(canonicalSpec, canonicalSpecLen), m_isValid(isValid), m_parsed(parsed) {}

template <typename STR>
void GURL::InitCanonical(const STR& inputSpec) {
  m_spec.reserve(inputSpec.size() + 32);
  url_canon::StdStringCanonOutput output(&m_spec);
  m_isValid = url_util::Canonicalize(inputSpec.data(), static_cast<int>(inputSpec.length()),
                                     nullptr, &output, &m_parsed);
  output.Complete();
}

GURL& GURL::operator=(const GURL& other) {
  if (&other == this) return *this;
  m_spec = other.m_spec;
  m_isValid = other.m_isValid;
  m_parsed = other.m_parsed;
  return *this;
}

GURL& GURL::operator=(GURL&& other) noexcept {
  if (&other == this) return *this;
  m_spec = std::move(other.m_spec);
  m_isValid = other.m_isValid;
  m_parsed = other.m_parsed;
  return *this;
}

bool GURL::is_valid() const { return m_isValid; }

const std::string& GURL::spec() const {
  if (m_isValid || m_spec.empty()) return m_spec;
  // The text of an invalid URL is never handed out here.
  return EmptyStringForGURL();
}

GURL GURL::Resolve(const std::string& relative) const {
  return ResolveWithCharsetConverter(relative, nullptr);
}

GURL GURL::Resolve(const string16& relative) const {
  return ResolveWithCharsetConverter(relative, nullptr);
}

GURL GURL::ResolveWithCharsetConverter(const std::string& relative,
                                       url_canon::CharsetConverter* charsetConverter) const {
  return ResolveRelative(relative, charsetConverter);
}

GURL GURL::ResolveWithCharsetConverter(const string16& relative,
                                       url_canon::CharsetConverter* charsetConverter) const {
  return ResolveRelative(relative, charsetConverter);
}

template <typename STR>
GURL GURL::ResolveRelative(const STR& relative,
                           url_canon::CharsetConverter* charsetConverter) const {
  if (!m_isValid) return GURL();

  GURL result;
  result.m_spec.reserve(m_spec.size() + 32);
  url_canon::StdStringCanonOutput output(&result.m_spec);
  if (!url_util::ResolveRelative(m_spec.data(), static_cast<int>(m_spec.length()), m_parsed,
                                 relative.data(), static_cast<int>(relative.length()),
                                 charsetConverter, &output, &result.m_parsed)) {
    // The partial text is thrown away.
    return GURL();
  }
  output.Complete();
  result.m_isValid = true;
  return result;
}

GURL GURL::ReplaceComponents(const url_canon::Replacements<char>& replacements) const {
  return Replaced(replacements);
}

GURL GURL::ReplaceComponents(const url_canon::Replacements<unsigned short>& replacements) const {
  return Replaced(replacements);
}

template <typename CHAR>
GURL GURL::Replaced(const url_canon::Replacements<CHAR>& replacements) const {
  if (!m_isValid) return GURL();

  GURL result;
  result.m_spec.reserve(m_spec.size() + 32);
  url_canon::StdStringCanonOutput output(&result.m_spec);
  result.m_isValid =
      url_util::ReplaceComponents(m_spec.data(), static_cast<int>(m_spec.length()), m_parsed,
                                  replacements, nullptr, &output, &result.m_parsed);
  // Unlike Resolve, a failed replacement keeps its partial text.
  output.Complete();
  return result;
}

GURL GURL::GetOrigin() const {
  if (!m_isValid || !IsStandard()) return GURL();

  url_canon::Replacements<char> replacements;
  replacements.ClearUsername();
  replacements.ClearPassword();
  replacements.ClearPath();
  replacements.ClearQuery();
  replacements.ClearRef();
  return ReplaceComponents(replacements);
}

GURL GURL::GetWithEmptyPath() const {
  if (!m_isValid || !IsStandard()) return GURL();

  GURL other(*this);
  if (m_parsed.path.len == 0) return other;

  // The text is canonical already: cut it after the path's first character, made a slash.
  other.m_parsed.query.reset();
  other.m_parsed.ref.reset();
  other.m_spec[other.m_parsed.path.begin] = '/';
  other.m_parsed.path.len = 1;
  other.m_spec.resize(other.m_parsed.path.begin + 1);
  return other;
}

bool GURL::IsStandard() const { return url_util::IsStandard(m_spec.data(), m_parsed.scheme); }

bool GURL::SchemeIs(const char* lowerAsciiScheme) const {
  if (m_parsed.scheme.len <= 0) return lowerAsciiScheme == nullptr;
  if (lowerAsciiScheme == nullptr) return false;
  return url_util::LowerCaseEqualsASCII(m_spec.data() + m_parsed.scheme.begin,
                                        m_spec.data() + m_parsed.scheme.end(), lowerAsciiScheme);
}

int GURL::IntPort() const {
  if (m_parsed.port.len < 1) return url_parse::PORT_UNSPECIFIED;
  return url_parse::ParsePort(m_spec.data(), m_parsed.port);
}

int GURL::EffectiveIntPort() const {
  int intPort = IntPort();
  if (intPort == url_parse::PORT_UNSPECIFIED && IsStandard()) {
    return url_canon::DefaultPortForScheme(m_spec.data() + m_parsed.scheme.begin,
                                           m_parsed.scheme.len);
  }
  return intPort;
}

std::string GURL::PathForRequest() const {
  if (m_parsed.ref.len >= 0) {
    // Up to the '#' of the ref; the query stays.
    return std::string(m_spec, m_parsed.path.begin, m_parsed.ref.begin - m_parsed.path.begin - 1);
  }
  return std::string(m_spec, m_parsed.path.begin);
}

std::string GURL::HostNoBrackets() const {
  url_parse::Component h(m_parsed.host);
  if (h.len > 1 && m_spec[h.begin] == '[' && m_spec[h.begin + h.len - 1] == ']') {
    h.begin++;
    h.len -= 2;
  }
  return ComponentString(h);
}

bool GURL::HostIsIPAddress() const {
  if (!m_isValid || m_spec.empty()) return false;

  url_canon::RawCanonOutputT<char, 128> ignoredOutput;
  url_canon::CanonHostInfo hostInfo;
  url_canon::CanonicalizeIPAddress(m_spec.c_str(), m_parsed.host, &ignoredOutput, &hostInfo);
  return hostInfo.IsIPAddress();
}

std::string GURL::ExtractFileName() const {
  url_parse::Component fileComponent;
  url_parse::ExtractFileName(m_spec.data(), m_parsed.path, &fileComponent);
  return ComponentString(fileComponent);
}

bool GURL::DomainIs(const char* lowerAsciiDomain, int domainLen) const {
  if (!m_isValid || m_parsed.host.len <= 0 || !domainLen) return false;

  // A trailing dot of the host is ignored unless the domain has one too.
  const char* lastPos = m_spec.data() + m_parsed.host.end() - 1;
  int hostLen = m_parsed.host.len;
  if (*lastPos == '.' && lowerAsciiDomain[domainLen - 1] != '.') {
    lastPos--;
    hostLen--;
  }

  if (hostLen < domainLen) return false;

  const char* startPos = m_spec.data() + m_parsed.host.begin + hostLen - domainLen;
  if (!url_util::LowerCaseEqualsASCII(startPos, lastPos + 1, lowerAsciiDomain,
                                      lowerAsciiDomain + domainLen))
    return false;

  // The match must start at a label: "b.host" doesn't match inside "ab.host".
  if (lowerAsciiDomain[0] != '.' && hostLen > domainLen && *(startPos - 1) != '.') return false;

  return true;
}

void GURL::Swap(GURL* other) {
  m_spec.swap(other->m_spec);
  std::swap(m_isValid, other->m_isValid);
  std::swap(m_parsed, other->m_parsed);
}

const GURL& GURL::EmptyGURL() {
  pthread_once(&empty_gurl_once, EmptyGURLOnce);
  return *empty_gurl;
}

std::ostream& operator<<(std::ostream& out, const GURL& url) {
  return out << url.possibly_invalid_spec();
}

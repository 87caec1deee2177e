// GURL: a URL canonicalised once at construction. It holds the canonical text and the range of
// each component inside it; components are read as substrings of that text.
#pragma once

#include <iosfwd>
#include <string>

#include "string16.h"
#include "url_canon.h"
#include "url_parse.h"

class GURL {
 public:
  // Empty text, invalid, all components reset.
  GURL();
  GURL(const GURL& other);
  GURL(GURL&& other) noexcept;
  // Canonicalises |urlString|. Text and components are kept also when it is invalid.
  GURL(const std::string& urlString);  // NOLINT(google-explicit-constructor)
  GURL(const string16& urlString);     // NOLINT(google-explicit-constructor)
  // Trusted construction: text, components and flag are stored as they come.
  GURL(const char* canonicalSpec, unsigned int canonicalSpecLen, const url_parse::Parsed& parsed,
       bool isValid);

  GURL& operator=(const GURL& other);
  GURL& operator=(GURL&& other) noexcept;

  bool is_valid() const;
  bool is_empty() const { return m_spec.empty(); }

  // The canonical text; for an invalid URL with non-empty text, a shared empty string instead.
  const std::string& spec() const;

  // The text whatever the validity.
  const std::string& possibly_invalid_spec() const { return m_spec; }
  const url_parse::Parsed& parsed_for_possibly_invalid_spec() const { return m_parsed; }

  bool operator==(const GURL& other) const { return m_spec == other.m_spec; }
  bool operator!=(const GURL& other) const { return m_spec != other.m_spec; }
  bool operator<(const GURL& other) const { return m_spec < other.m_spec; }

  // Resolves |relative| against this URL; a default GURL when this URL is invalid or the
  // resolution fails.
  GURL Resolve(const std::string& relative) const;
  GURL Resolve(const string16& relative) const;
  GURL ResolveWithCharsetConverter(const std::string& relative,
                                   url_canon::CharsetConverter* charsetConverter) const;
  GURL ResolveWithCharsetConverter(const string16& relative,
                                   url_canon::CharsetConverter* charsetConverter) const;

  // A failed replacement comes back as it stands: partial text and a false flag.
  GURL ReplaceComponents(const url_canon::Replacements<char>& replacements) const;
  GURL ReplaceComponents(const url_canon::Replacements<unsigned short>& replacements) const;

  // Scheme, host and port only; a default GURL for invalid or non-standard URLs.
  GURL GetOrigin() const;
  // This URL with the path "/" and no query or ref; a default GURL for invalid or non-standard
  // URLs.
  GURL GetWithEmptyPath() const;

  bool IsStandard() const;

  // |lowerAsciiScheme| must be lower case; null matches a URL without a scheme.
  bool SchemeIs(const char* lowerAsciiScheme) const;

  bool SchemeIsFile() const { return SchemeIs("file"); }
  bool SchemeIsSecure() const { return SchemeIs("https") || SchemeIs("wss"); }

  // Component reads. None of them looks at the validity flag.
  std::string scheme() const { return ComponentString(m_parsed.scheme); }
  std::string username() const { return ComponentString(m_parsed.username); }
  std::string password() const { return ComponentString(m_parsed.password); }
  std::string host() const { return ComponentString(m_parsed.host); }
  std::string port() const { return ComponentString(m_parsed.port); }
  std::string path() const { return ComponentString(m_parsed.path); }
  std::string query() const { return ComponentString(m_parsed.query); }
  std::string ref() const { return ComponentString(m_parsed.ref); }

  bool has_scheme() const { return m_parsed.scheme.len >= 0; }
  bool has_username() const { return m_parsed.username.len >= 0; }
  bool has_password() const { return m_parsed.password.len >= 0; }
  bool has_host() const { return m_parsed.host.len > 0; }
  bool has_port() const { return m_parsed.port.len >= 0; }
  bool has_path() const { return m_parsed.path.len >= 0; }
  bool has_query() const { return m_parsed.query.len >= 0; }
  bool has_ref() const { return m_parsed.ref.len >= 0; }

  // -1 without a port, -2 for a bad one, otherwise the number.
  int IntPort() const;
  // IntPort(), or the scheme's default port for a standard URL without one.
  int EffectiveIntPort() const;

  // The path up to the ref, query included.
  std::string PathForRequest() const;

  // The host, without the brackets of an IPv6 address.
  std::string HostNoBrackets() const;

  bool HostIsIPAddress() const;

  // The last path segment, without parameters after ';'.
  std::string ExtractFileName() const;

  // Whether the host is |lowerAsciiDomain| or ends in it at a label border.
  bool DomainIs(const char* lowerAsciiDomain, int domainLen) const;
  bool DomainIs(const char* lowerAsciiDomain) const {
    return DomainIs(lowerAsciiDomain,
                    static_cast<int>(std::char_traits<char>::length(lowerAsciiDomain)));
  }

  void Swap(GURL* other);

  // A shared default GURL.
  static const GURL& EmptyGURL();

 private:
  template <typename STR>
  void InitCanonical(const STR& inputSpec);

  std::string ComponentString(const url_parse::Component& comp) const {
    if (comp.len <= 0) return std::string();
    return std::string(m_spec, comp.begin, comp.len);
  }

  std::string m_spec;
  bool m_isValid;
  url_parse::Parsed m_parsed;
};

std::ostream& operator<<(std::ostream& out, const GURL& url);

/// \file
/// GURL: a URL canonicalised once at construction. It holds the canonical text and the range of
/// each component inside it; components are read as substrings of that text.
#pragma once

#include <iosfwd>
#include <string>

#include "string16.h"
#include "url_canon.h"
#include "url_parse.h"

/// A URL value: canonicalised once at construction, then immutable apart from assignment and Swap.
/// It holds the canonical text and the position of each component in it. A URL that fails
/// canonicalisation is a value too, with is_valid() false: it keeps what the canonicaliser wrote,
/// and its components can still be read (the library's own callers read host(), path() and
/// query() without looking at validity). Values are not shared between threads by this library;
/// the shared empty instances are made safely on first use.
class GURL {
 public:
  /// Empty text, invalid, all components reset.
  GURL();
  /// A copy of all three parts.
  GURL(const GURL& other);
  /// Takes the text of `other`.
  GURL(GURL&& other) noexcept;
  /// Canonicalises |urlString|. Text and components are kept also when it is invalid.
  GURL(const std::string& urlString);  // NOLINT(google-explicit-constructor)
  /// The same for 16-bit text.
  GURL(const string16& urlString);  // NOLINT(google-explicit-constructor)
  /// Trusted construction: text, components and flag are stored as they come.
  GURL(const char* canonicalSpec, unsigned int canonicalSpecLen, const url_parse::Parsed& parsed,
       bool isValid);

  /// A copy of all three parts; self-assignment does nothing.
  GURL& operator=(const GURL& other);
  /// Takes the text of `other`.
  GURL& operator=(GURL&& other) noexcept;

  /// The result of canonicalisation.
  bool is_valid() const;
  /// True when there is no text at all.
  bool is_empty() const { return m_spec.empty(); }

  /// The canonical text; for an invalid URL with non-empty text, a shared empty string instead.
  const std::string& spec() const;

  /// The text whatever the validity.
  const std::string& possibly_invalid_spec() const { return m_spec; }
  /// The component ranges in possibly_invalid_spec().
  const url_parse::Parsed& parsed_for_possibly_invalid_spec() const { return m_parsed; }

  /// Same text.
  bool operator==(const GURL& other) const { return m_spec == other.m_spec; }
  /// Other text.
  bool operator!=(const GURL& other) const { return m_spec != other.m_spec; }
  /// Ordered by text.
  bool operator<(const GURL& other) const { return m_spec < other.m_spec; }

  /// Resolves |relative| against this URL; a default GURL when this URL is invalid or the
  /// resolution fails (the partial text is dropped).
  GURL Resolve(const std::string& relative) const;
  /// The same for 16-bit text.
  GURL Resolve(const string16& relative) const;
  /// Resolve with a converter for the query's character set (null: UTF-8).
  GURL ResolveWithCharsetConverter(const std::string& relative,
                                   url_canon::CharsetConverter* charsetConverter) const;
  /// The same for 16-bit text.
  GURL ResolveWithCharsetConverter(const string16& relative,
                                   url_canon::CharsetConverter* charsetConverter) const;

  /// This URL with components replaced; a default GURL when this URL is invalid. Unlike Resolve,
  /// a failed replacement comes back as it stands: partial text and a false flag.
  GURL ReplaceComponents(const url_canon::Replacements<char>& replacements) const;
  /// The same for 16-bit replacements.
  GURL ReplaceComponents(const url_canon::Replacements<unsigned short>& replacements) const;

  /// Scheme, host and port only; a default GURL for invalid or non-standard URLs.
  GURL GetOrigin() const;
  /// This URL with the path "/" and no query or ref; a default GURL for invalid or non-standard
  /// URLs.
  GURL GetWithEmptyPath() const;

  /// Whether the scheme is one of the standard schemes (url_util::IsStandard).
  bool IsStandard() const;

  /// Whether the scheme is |lowerAsciiScheme|, which must be lower case (the stored scheme is
  /// compared ignoring case). Null matches a URL without a scheme.
  bool SchemeIs(const char* lowerAsciiScheme) const;

  /// SchemeIs("file").
  bool SchemeIsFile() const { return SchemeIs("file"); }
  /// https or wss.
  bool SchemeIsSecure() const { return SchemeIs("https") || SchemeIs("wss"); }

  // Component reads: the range's text when its length is above 0, else empty. None of them looks
  // at the validity flag.
  /// The scheme, without its colon.
  std::string scheme() const { return ComponentString(m_parsed.scheme); }
  /// The user name.
  std::string username() const { return ComponentString(m_parsed.username); }
  /// The password.
  std::string password() const { return ComponentString(m_parsed.password); }
  /// The host, with the brackets of an IPv6 address.
  std::string host() const { return ComponentString(m_parsed.host); }
  /// The port text.
  std::string port() const { return ComponentString(m_parsed.port); }
  /// The path.
  std::string path() const { return ComponentString(m_parsed.path); }
  /// The query, without its "?".
  std::string query() const { return ComponentString(m_parsed.query); }
  /// The fragment, without its "#".
  std::string ref() const { return ComponentString(m_parsed.ref); }

  /// A scheme is present (possibly empty).
  bool has_scheme() const { return m_parsed.scheme.len >= 0; }
  /// A user name is present (possibly empty).
  bool has_username() const { return m_parsed.username.len >= 0; }
  /// A password is present (possibly empty).
  bool has_password() const { return m_parsed.password.len >= 0; }
  /// The host is not empty.
  bool has_host() const { return m_parsed.host.len > 0; }
  /// A port is present (possibly empty).
  bool has_port() const { return m_parsed.port.len >= 0; }
  /// A path is present (possibly empty).
  bool has_path() const { return m_parsed.path.len >= 0; }
  /// A query is present (possibly empty).
  bool has_query() const { return m_parsed.query.len >= 0; }
  /// A fragment is present (possibly empty).
  bool has_ref() const { return m_parsed.ref.len >= 0; }

  /// -1 without a port, -2 for a bad one, otherwise the number.
  int IntPort() const;
  /// IntPort(), or the scheme's default port for a standard URL without one.
  int EffectiveIntPort() const;

  /// The path up to the ref, query included.
  std::string PathForRequest() const;

  /// The host, without the brackets of an IPv6 address.
  std::string HostNoBrackets() const;

  /// True when the host is an IPv4 or IPv6 address; false for an invalid or empty URL.
  bool HostIsIPAddress() const;

  /// The last path segment, without parameters after ';'.
  std::string ExtractFileName() const;

  /// Whether the host is |lowerAsciiDomain| or ends in it at a label border (a trailing dot of the
  /// host is ignored); false for an invalid URL.
  bool DomainIs(const char* lowerAsciiDomain, int domainLen) const;
  /// The same with the length of a terminated text.
  bool DomainIs(const char* lowerAsciiDomain) const {
    return DomainIs(lowerAsciiDomain,
                    static_cast<int>(std::char_traits<char>::length(lowerAsciiDomain)));
  }

  /// Exchanges all three parts with `other`.
  void Swap(GURL* other);

  /// A shared default GURL, made on first use and never freed.
  static const GURL& EmptyGURL();

 private:
  template <typename STR>
  void InitCanonical(const STR& inputSpec);
  // The bodies of the 8-bit and 16-bit forms of ResolveWithCharsetConverter and ReplaceComponents.
  template <typename STR>
  GURL ResolveRelative(const STR& relative, url_canon::CharsetConverter* charsetConverter) const;
  template <typename CHAR>
  GURL Replaced(const url_canon::Replacements<CHAR>& replacements) const;

  std::string ComponentString(const url_parse::Component& comp) const {
    if (comp.len <= 0) return std::string();
    return std::string(m_spec, comp.begin, comp.len);
  }

  std::string m_spec;
  bool m_isValid;
  url_parse::Parsed m_parsed;
};

/// Writes possibly_invalid_spec().
std::ostream& operator<<(std::ostream& out, const GURL& url);

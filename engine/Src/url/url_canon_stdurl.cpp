// URLs with an authority: http, https, ftp and the other standard schemes.
#include <cstring>

#include "url_canon_internal.h"

namespace url_canon {

namespace {

template <typename CHAR>
bool DoCanonicalizeStandardURL(const URLComponentSource<CHAR>& source,
                               const url_parse::Parsed& parsed, CharsetConverter* queryConverter,
                               CanonOutput* output, url_parse::Parsed* newParsed) {
  bool success = CanonicalizeScheme(source.scheme, parsed.scheme, output, &newParsed->scheme);

  bool haveAuthority;
  if (parsed.username.is_valid() || parsed.password.is_valid() || parsed.host.is_nonempty() ||
      parsed.port.is_valid()) {
    haveAuthority = true;
    if (parsed.scheme.is_valid()) {
      output->push_back('/');
      output->push_back('/');
    }

    success &=
        CanonicalizeUserInfo(source.username, parsed.username, source.password, parsed.password,
                             output, &newParsed->username, &newParsed->password);
    success &= CanonicalizeHost(source.host, parsed.host, output, &newParsed->host);

    // A standard URL needs a host.
    if (!parsed.host.is_nonempty()) success = false;

    int defaultPort =
        DefaultPortForScheme(&output->data()[newParsed->scheme.begin], newParsed->scheme.len);
    success &= CanonicalizePort(source.port, parsed.port, defaultPort, output, &newParsed->port);
  } else {
    haveAuthority = false;
    newParsed->host.reset();
    newParsed->username.reset();
    newParsed->password.reset();
    newParsed->port.reset();
    success = false;
  }

  if (parsed.path.is_valid()) {
    success &= CanonicalizePath(source.path, parsed.path, output, &newParsed->path);
  } else if (haveAuthority || parsed.query.is_valid() || parsed.ref.is_valid()) {
    // A path is made up when anything stands around it.
    newParsed->path = url_parse::Component(output->length(), 1);
    output->push_back('/');
  } else {
    newParsed->path.reset();
  }

  CanonicalizeQuery(source.query, parsed.query, queryConverter, output, &newParsed->query);
  CanonicalizeRef(source.ref, parsed.ref, output, &newParsed->ref);
  return success;
}

}  // namespace

int DefaultPortForScheme(const char* scheme, int schemeLen) {
  struct SchemePort {
    const char* scheme;
    int len;
    int port;
  };
  static constexpr SchemePort kPorts[] = {
      {"http", 4, 80},   {"https", 5, 443}, {"ftp", 3, 21},
      {"gopher", 6, 70}, {"ws", 2, 80},     {"wss", 3, 443},
  };
  for (const SchemePort& entry : kPorts) {
    if (entry.len == schemeLen && std::memcmp(scheme, entry.scheme, schemeLen) == 0)
      return entry.port;
  }
  return url_parse::PORT_UNSPECIFIED;
}

bool CanonicalizeStandardURL(const char* spec, int specLen, const url_parse::Parsed& parsed,
                             CharsetConverter* queryConverter, CanonOutput* output,
                             url_parse::Parsed* newParsed) {
  return DoCanonicalizeStandardURL(URLComponentSource<char>(spec), parsed, queryConverter, output,
                                   newParsed);
}

bool CanonicalizeStandardURL(const char16* spec, int specLen, const url_parse::Parsed& parsed,
                             CharsetConverter* queryConverter, CanonOutput* output,
                             url_parse::Parsed* newParsed) {
  return DoCanonicalizeStandardURL(URLComponentSource<char16>(spec), parsed, queryConverter, output,
                                   newParsed);
}

bool ReplaceStandardURL(const char* base, const url_parse::Parsed& baseParsed,
                        const Replacements<char>& replacements, CharsetConverter* queryConverter,
                        CanonOutput* output, url_parse::Parsed* newParsed) {
  return CanonicalizeReplaced(DoCanonicalizeStandardURL<char>, base, baseParsed, replacements,
                              queryConverter, output, newParsed);
}

bool ReplaceStandardURL(const char* base, const url_parse::Parsed& baseParsed,
                        const Replacements<char16>& replacements, CharsetConverter* queryConverter,
                        CanonOutput* output, url_parse::Parsed* newParsed) {
  return CanonicalizeReplaced(DoCanonicalizeStandardURL<char>, base, baseParsed, replacements,
                              queryConverter, output, newParsed);
}

}  // namespace url_canon

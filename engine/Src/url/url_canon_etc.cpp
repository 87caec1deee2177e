// Scheme, user information, port and ref.
#include "url_canon_internal.h"

namespace url_canon {

namespace {

template <typename CHAR, typename UCHAR>
bool DoScheme(const CHAR* spec, const url_parse::Component& scheme, CanonOutput* output,
              url_parse::Component* outScheme) {
  if (scheme.len <= 0) {
    // An absent or empty scheme becomes an empty one: just the colon.
    *outScheme = url_parse::Component(output->length(), 0);
    output->push_back(':');
    return true;
  }

  outScheme->begin = output->length();
  bool success = true;
  int end = scheme.end();
  for (int i = scheme.begin; i < end; i++) {
    UCHAR ch = static_cast<UCHAR>(spec[i]);
    unsigned char replacement = CanonicalSchemeChar(static_cast<char16>(ch));
    if (replacement) {
      output->push_back(static_cast<char>(replacement));
    } else if (ch < 0x80) {
      success = false;
      AppendEscapedChar(ch, output);
    } else {
      success = false;
      AppendUTF8EscapedChar(spec, &i, end, output);
    }
  }
  outScheme->len = output->length() - outScheme->begin;
  output->push_back(':');
  return success;
}

template <typename CHAR, typename UCHAR>
bool DoUserInfo(const CHAR* usernameSpec, const url_parse::Component& username,
                const CHAR* passwordSpec, const url_parse::Component& password, CanonOutput* output,
                url_parse::Component* outUsername, url_parse::Component* outPassword) {
  if (username.len <= 0 && password.len <= 0) {
    // Empty user information vanishes together with its '@'.
    *outUsername = url_parse::Component();
    *outPassword = url_parse::Component();
    return true;
  }

  outUsername->begin = output->length();
  if (username.len > 0) {
    AppendStringOfType(&usernameSpec[username.begin], username.len, CHAR_USERINFO, output);
  }
  outUsername->len = output->length() - outUsername->begin;

  // An empty password is dropped with its colon.
  if (password.len > 0) {
    output->push_back(':');
    outPassword->begin = output->length();
    AppendStringOfType(&passwordSpec[password.begin], password.len, CHAR_USERINFO, output);
    outPassword->len = output->length() - outPassword->begin;
  } else {
    *outPassword = url_parse::Component();
  }

  output->push_back('@');
  return true;
}

template <typename CHAR, typename UCHAR>
bool DoPort(const CHAR* spec, const url_parse::Component& port, int defaultPortForScheme,
            CanonOutput* output, url_parse::Component* outPort) {
  int portNum = url_parse::ParsePort(spec, port);
  if (portNum == url_parse::PORT_UNSPECIFIED || portNum == defaultPortForScheme) {
    *outPort = url_parse::Component();
    return true;
  }

  if (portNum == url_parse::PORT_INVALID) {
    // The raw text stays visible, and the URL is invalid.
    output->push_back(':');
    outPort->begin = output->length();
    AppendInvalidNarrowString(spec, port.begin, port.end(), output);
    outPort->len = output->length() - outPort->begin;
    return false;
  }

  output->push_back(':');
  outPort->begin = output->length();
  AppendDecimal(static_cast<unsigned>(portNum), output);
  outPort->len = output->length() - outPort->begin;
  return true;
}

template <typename CHAR, typename UCHAR>
void DoCanonicalizeRef(const CHAR* spec, const url_parse::Component& ref, CanonOutput* output,
                       url_parse::Component* outRef) {
  if (ref.len < 0) {
    *outRef = url_parse::Component();
    return;
  }

  // The separator is written for an empty ref as well.
  output->push_back('#');
  outRef->begin = output->length();

  int end = ref.end();
  for (int i = ref.begin; i < end; i++) {
    UCHAR uch = static_cast<UCHAR>(spec[i]);
    if (uch == 0) {
      continue;  // NULs are dropped
    } else if (uch < 0x20) {
      AppendEscapedChar(uch, output);
    } else if (uch < 0x80) {
      output->push_back(static_cast<char>(uch));
    } else {
      // Without Unicode support every non-ASCII unit becomes U+FFFD, unescaped.
      unsigned codePoint = kUnicodeReplacementCharacter;
      ReadUTFChar(spec, &i, end, &codePoint);
      AppendUTF8Value(codePoint, output);
    }
  }
  outRef->len = output->length() - outRef->begin;
}

}  // namespace

bool CanonicalizeScheme(const char* spec, const url_parse::Component& scheme, CanonOutput* output,
                        url_parse::Component* outScheme) {
  return DoScheme<char, unsigned char>(spec, scheme, output, outScheme);
}
bool CanonicalizeScheme(const char16* spec, const url_parse::Component& scheme, CanonOutput* output,
                        url_parse::Component* outScheme) {
  return DoScheme<char16, char16>(spec, scheme, output, outScheme);
}

bool CanonicalizeUserInfo(const char* usernameSource, const url_parse::Component& username,
                          const char* passwordSource, const url_parse::Component& password,
                          CanonOutput* output, url_parse::Component* outUsername,
                          url_parse::Component* outPassword) {
  return DoUserInfo<char, unsigned char>(usernameSource, username, passwordSource, password, output,
                                         outUsername, outPassword);
}
bool CanonicalizeUserInfo(const char16* usernameSource, const url_parse::Component& username,
                          const char16* passwordSource, const url_parse::Component& password,
                          CanonOutput* output, url_parse::Component* outUsername,
                          url_parse::Component* outPassword) {
  return DoUserInfo<char16, char16>(usernameSource, username, passwordSource, password, output,
                                    outUsername, outPassword);
}

bool CanonicalizePort(const char* spec, const url_parse::Component& port, int defaultPortForScheme,
                      CanonOutput* output, url_parse::Component* outPort) {
  return DoPort<char, unsigned char>(spec, port, defaultPortForScheme, output, outPort);
}
bool CanonicalizePort(const char16* spec, const url_parse::Component& port,
                      int defaultPortForScheme, CanonOutput* output,
                      url_parse::Component* outPort) {
  return DoPort<char16, char16>(spec, port, defaultPortForScheme, output, outPort);
}

bool CanonicalizeRef(const char* spec, const url_parse::Component& ref, CanonOutput* output,
                     url_parse::Component* outRef) {
  DoCanonicalizeRef<char, unsigned char>(spec, ref, output, outRef);
  return true;
}
bool CanonicalizeRef(const char16* spec, const url_parse::Component& ref, CanonOutput* output,
                     url_parse::Component* outRef) {
  DoCanonicalizeRef<char16, char16>(spec, ref, output, outRef);
  return true;
}

}  // namespace url_canon

// The canonicaliser output that writes straight into a std::string.
#include "url_canon_stdstring.h"

namespace url_canon {

StdStringCanonOutput::StdStringCanonOutput(std::string* str) : m_str(str) {
  m_length = static_cast<int>(m_str->size());  // appends to what is there
  m_str->resize(m_str->capacity());
  m_data = m_str->empty() ? nullptr : &(*m_str)[0];
  m_capacity = static_cast<int>(m_str->size());
}

StdStringCanonOutput::~StdStringCanonOutput() {}

void StdStringCanonOutput::Complete() {
  m_str->resize(m_length);
  m_capacity = m_length;
}

void StdStringCanonOutput::Resize(int sz) {
  m_str->resize(sz);
  m_data = m_str->empty() ? nullptr : &(*m_str)[0];
  m_capacity = sz;
}

}  // namespace url_canon

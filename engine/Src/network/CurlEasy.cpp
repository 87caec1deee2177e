#include "CurlEasy.h"

#include <exception>

namespace strmcommon {

CurlEasy::CurlEasy() {
  m_handle = nullptr;
  m_lastError = CURLE_OK;
  m_handle = curl_easy_init();
  if (m_handle == nullptr) throw std::exception();
}

CurlEasy::~CurlEasy() { curl_easy_cleanup(m_handle); }

bool CurlEasy::Perform() {
  m_lastError = curl_easy_perform(m_handle);
  return m_lastError == CURLE_OK;
}

// Stores nothing: the code of the previous call stays.
void CurlEasy::Reset() { curl_easy_reset(m_handle); }

bool CurlEasy::Pause() {
  m_lastError = curl_easy_pause(m_handle, CURLPAUSE_RECV | CURLPAUSE_SEND);
  return m_lastError == CURLE_OK;
}

bool CurlEasy::Resume() {
  m_lastError = curl_easy_pause(m_handle, CURLPAUSE_CONT);
  return m_lastError == CURLE_OK;
}

bool CurlEasy::GetInfoWithLong(CURLINFO info, long* value) {
  m_lastError = curl_easy_getinfo(m_handle, info, value);
  return m_lastError == CURLE_OK;
}

bool CurlEasy::GetInfoWithDouble(CURLINFO info, double* value) {
  m_lastError = curl_easy_getinfo(m_handle, info, value);
  return m_lastError == CURLE_OK;
}

bool CurlEasy::SetOpt(CURLoption option, void const* value) {
  m_lastError = curl_easy_setopt(m_handle, option, value);
  return m_lastError == CURLE_OK;
}

bool CurlEasy::SetOptMaxNwLimit(CURLoption option, long long value) {
  m_lastError = curl_easy_setopt(m_handle, option, static_cast<curl_off_t>(value));
  return m_lastError == CURLE_OK;
}

bool CurlEasy::GetInfo(CURLINFO info, void const* value) {
  m_lastError = curl_easy_getinfo(m_handle, info, value);
  return m_lastError == CURLE_OK;
}

CURLcode CurlEasy::GetLastError() const { return m_lastError; }

void* CurlEasy::GetHandle() { return m_handle; }

}  // namespace strmcommon

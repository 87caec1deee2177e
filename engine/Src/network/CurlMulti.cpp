#include "CurlMulti.h"

#include <exception>

namespace strmcommon {

CurlMulti::CurlMulti() {
  m_handle = nullptr;
  m_lastError = CURLM_OK;
  m_handle = curl_multi_init();
  if (m_handle == nullptr) throw std::exception();
}

CurlMulti::~CurlMulti() { curl_multi_cleanup(m_handle); }

bool CurlMulti::AddHandle(ICurlEasy& easy) {
  m_lastError = curl_multi_add_handle(m_handle, static_cast<CURL*>(easy.GetHandle()));
  return m_lastError == CURLM_OK;
}

bool CurlMulti::RemoveHandle(ICurlEasy& easy) {
  m_lastError = curl_multi_remove_handle(m_handle, static_cast<CURL*>(easy.GetHandle()));
  return m_lastError == CURLM_OK;
}

// Inverted on purpose: true only for CURLM_CALL_MULTI_PERFORM, so the caller loops while it is
// true; success and failure both give false and only GetLastError tells them apart.
bool CurlMulti::Perform(int& running) {
  m_lastError = curl_multi_perform(m_handle, &running);
  return m_lastError == CURLM_CALL_MULTI_PERFORM;
}

bool CurlMulti::FDSet(fd_set* readFds, fd_set* writeFds, fd_set* exceptFds, int* maxFd) {
  m_lastError = curl_multi_fdset(m_handle, readFds, writeFds, exceptFds, maxFd);
  return m_lastError == CURLM_OK;
}

int CurlMulti::Select(int nfds, fd_set* readFds, fd_set* writeFds, fd_set* exceptFds,
                      timeval* timeout) {
  return select(nfds, readFds, writeFds, exceptFds, timeout);
}

bool CurlMulti::InfoRead(int& msgsLeft, CurlMsg& msg) {
  CURLMsg* info = curl_multi_info_read(m_handle, &msgsLeft);
  if (info == nullptr) return false;
  // Any other kind of message is consumed and dropped.
  if (info->msg != CURLMSG_DONE) return false;
  void* unit = nullptr;
  curl_easy_getinfo(info->easy_handle, CURLINFO_PRIVATE, &unit);
  msg.msg = info->msg;
  msg.unit = unit;
  msg.result = info->data.result;
  msg.easy = info->easy_handle;
  curl_easy_getinfo(info->easy_handle, CURLINFO_PRIMARY_IP, &msg.primaryIp);
  curl_easy_getinfo(info->easy_handle, CURLINFO_LOCAL_IP, &msg.localIp);
  return true;
}

CURLMcode CurlMulti::GetLastError() const { return m_lastError; }

bool CurlMulti::SetMOpt(CURLMoption option, void const* value) {
  m_lastError = curl_multi_setopt(m_handle, option, value);
  return m_lastError == CURLM_OK;
}

void* CurlMulti::GetHandle() { return m_handle; }

}  // namespace strmcommon

#include "FakeCurl.h"

#include <algorithm>

namespace testsupport {

FakeCurlEasy::~FakeCurlEasy() {
  auto& easies = m_state->easies;
  easies.erase(std::remove(easies.begin(), easies.end(), this), easies.end());
}

bool FakeCurlEasy::GetInfoWithLong(CURLINFO info, long* value) {
  auto it = longInfo.find(info);
  if (it == longInfo.end()) return false;
  *value = it->second;
  return true;
}

bool FakeCurlEasy::GetInfoWithDouble(CURLINFO info, double* value) {
  auto it = doubleInfo.find(info);
  if (it == doubleInfo.end()) return false;
  *value = it->second;
  return true;
}

bool FakeCurlEasy::SetOpt(CURLoption option, void const* value) {
  switch (option) {
    case CURLOPT_URL:
    case CURLOPT_RANGE:
    case CURLOPT_PROXY:
    case CURLOPT_USERAGENT:
    case CURLOPT_ACCEPT_ENCODING:
    case CURLOPT_COOKIE:
      m_strings.emplace_back(static_cast<const char*>(value));
      value = m_strings.back().c_str();
      break;
    default:
      break;
  }
  options.emplace_back(option, value);
  return true;
}

bool FakeCurlEasy::SetOptMaxNwLimit(CURLoption option, long long value) {
  options.emplace_back(option, reinterpret_cast<const void*>(static_cast<intptr_t>(value)));
  return true;
}

bool FakeCurlEasy::GetInfo(CURLINFO info, void const* value) {
  auto text = stringInfo.find(info);
  if (text != stringInfo.end()) {
    *static_cast<const char**>(const_cast<void*>(value)) = text->second.c_str();
    return true;
  }
  auto it = longInfo.find(info);
  if (it == longInfo.end()) return false;
  *static_cast<long*>(const_cast<void*>(value)) = it->second;
  return true;
}

const void* FakeCurlEasy::Option(CURLoption option) const {
  const void* value = nullptr;
  for (const auto& entry : options) {
    if (entry.first == option) value = entry.second;
  }
  return value;
}

bool FakeCurlEasy::HasOption(CURLoption option) const {
  for (const auto& entry : options) {
    if (entry.first == option) return true;
  }
  return false;
}

FakeCurlMulti::~FakeCurlMulti() {
  if (m_state->multi == this) m_state->multi = nullptr;
}

bool FakeCurlMulti::AddHandle(strmcommon::ICurlEasy& easy) {
  m_state->calls.push_back("add");
  if (m_state->addHandleResult) m_state->added.push_back(&easy);
  return m_state->addHandleResult;
}

bool FakeCurlMulti::RemoveHandle(strmcommon::ICurlEasy& easy) {
  m_state->calls.push_back("remove");
  m_state->removed.push_back(&easy);
  return true;
}

bool FakeCurlMulti::Perform(int& running) {
  m_state->calls.push_back("perform");
  ++m_state->performCalls;
  if (m_state->performScript.empty()) {
    running = m_state->runningDefault;
    return false;
  }
  auto step = m_state->performScript.front();
  m_state->performScript.pop_front();
  running = step.second;
  return step.first;
}

bool FakeCurlMulti::FDSet(fd_set*, fd_set*, fd_set*, int* maxFd) {
  m_state->calls.push_back("fdset");
  ++m_state->fdsetCalls;
  *maxFd = m_state->fdsetMaxFd;
  return true;
}

int FakeCurlMulti::Select(int nfds, fd_set*, fd_set*, fd_set*, timeval* timeout) {
  m_state->calls.push_back("select");
  ++m_state->selectCalls;
  m_state->selectNfds = nfds;
  m_state->selectTimeout = *timeout;
  if (m_state->onSelect) m_state->onSelect();
  return m_state->selectResult;
}

bool FakeCurlMulti::InfoRead(int& msgsLeft, strmcommon::CurlMsg& msg) {
  m_state->calls.push_back("inforead");
  ++m_state->infoReadCalls;
  if (m_state->messages.empty()) return false;
  msg = m_state->messages.front();
  m_state->messages.pop_front();
  msgsLeft = static_cast<int>(m_state->messages.size());
  return true;
}

strmcommon::ICurlEasy* FakeCurlFactory::CreateCurlEasy() {
  auto* easy = new FakeCurlEasy(m_state);
  m_state->easies.push_back(easy);
  ++m_state->easyCreated;
  return easy;
}

strmcommon::ICurlMulti* FakeCurlFactory::CreateCurlMulti() {
  auto* multi = new FakeCurlMulti(m_state);
  m_state->multi = multi;
  return multi;
}

void FakeCurlFactory::ReleaseCurlEasy(strmcommon::ICurlEasy* easy) {
  if (easy == nullptr) {
    ++m_state->nullEasyReleased;
    return;
  }
  ++m_state->easyReleased;
  delete easy;
}

void FakeCurlFactory::ReleaseCurlMulti(strmcommon::ICurlMulti* multi) {
  if (multi == nullptr) return;
  ++m_state->multiReleased;
  delete multi;
}

strmcommon::CurlMsg DoneMessage(void* unit, CURLcode result, char* primaryIp, char* localIp) {
  strmcommon::CurlMsg msg;
  msg.msg = CURLMSG_DONE;
  msg.unit = unit;
  msg.result = result;
  msg.easy = nullptr;
  msg.primaryIp = primaryIp;
  msg.localIp = localIp;
  return msg;
}

}  // namespace testsupport

// Substitute libcurl handles: an ICurlFactory whose easy and multi objects answer from a script
// and record every call, for results a real server can't provoke. Not thread-safe: drive the
// engine's Process() from the test thread when using them.
#pragma once

#include <curl/curl.h>

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "ICurlFactory.h"

namespace testsupport {

class FakeCurlEasy;
class FakeCurlMulti;

// What every fake object shares with the test; outlives the engine that owns the factory.
struct FakeCurlState {
  // Easy objects alive now, in order of creation.
  std::vector<FakeCurlEasy*> easies;
  int easyCreated = 0;
  int easyReleased = 0;
  int nullEasyReleased = 0;
  FakeCurlMulti* multi = nullptr;
  int multiReleased = 0;

  // Multi handle script.
  bool addHandleResult = true;
  // Each Perform takes the front entry (result, running); when empty: false and runningDefault.
  std::deque<std::pair<bool, int>> performScript;
  int runningDefault = 0;
  int fdsetMaxFd = -1;
  int selectResult = 0;
  // Runs inside Select, where the engine has let go of its lock.
  std::function<void()> onSelect;
  std::deque<strmcommon::CurlMsg> messages;

  // Multi handle record.
  int performCalls = 0;
  int fdsetCalls = 0;
  int selectCalls = 0;
  int selectNfds = -2;
  timeval selectTimeout = {-1, -1};
  int infoReadCalls = 0;
  std::vector<strmcommon::ICurlEasy*> added;
  std::vector<strmcommon::ICurlEasy*> removed;
  // The order of multi calls by name: "add", "perform", "fdset", "select", "inforead", "remove".
  std::vector<std::string> calls;
};

class FakeCurlEasy : public strmcommon::ICurlEasy {
 public:
  explicit FakeCurlEasy(std::shared_ptr<FakeCurlState> state) : m_state(std::move(state)) {}
  ~FakeCurlEasy() override;

  bool Perform() override { return true; }
  void Reset() override { ++resetCalls; }
  bool Pause() override { return pauseResult; }
  bool Resume() override { return resumeResult; }
  bool GetInfoWithLong(CURLINFO info, long* value) override;
  bool GetInfoWithDouble(CURLINFO info, double* value) override;
  bool SetOpt(CURLoption option, void const* value) override;
  bool SetOptMaxNwLimit(CURLoption option, long long value) override;
  bool GetInfo(CURLINFO info, void const* value) override;
  CURLcode GetLastError() const override { return CURLE_OK; }
  void* GetHandle() override { return this; }

  // Options in the order they were set, and the latest value of each.
  std::vector<std::pair<CURLoption, const void*>> options;
  const void* Option(CURLoption option) const;
  bool HasOption(CURLoption option) const;
  std::map<CURLINFO, long> longInfo;
  std::map<CURLINFO, double> doubleInfo;
  // String answers of GetInfo (CURLINFO_EFFECTIVE_URL); the pointer handed out points in here.
  std::map<CURLINFO, std::string> stringInfo;
  int resetCalls = 0;
  bool pauseResult = true;
  bool resumeResult = true;

 private:
  std::shared_ptr<FakeCurlState> m_state;
  // libcurl copies string options; so does the fake.
  std::deque<std::string> m_strings;
};

class FakeCurlMulti : public strmcommon::ICurlMulti {
 public:
  explicit FakeCurlMulti(std::shared_ptr<FakeCurlState> state) : m_state(std::move(state)) {}
  ~FakeCurlMulti() override;

  bool AddHandle(strmcommon::ICurlEasy& easy) override;
  bool RemoveHandle(strmcommon::ICurlEasy& easy) override;
  bool Perform(int& running) override;
  bool FDSet(fd_set* readFds, fd_set* writeFds, fd_set* exceptFds, int* maxFd) override;
  int Select(int nfds, fd_set* readFds, fd_set* writeFds, fd_set* exceptFds,
             timeval* timeout) override;
  bool InfoRead(int& msgsLeft, strmcommon::CurlMsg& msg) override;
  CURLMcode GetLastError() const override { return CURLM_OK; }
  bool SetMOpt(CURLMoption, void const*) override { return true; }
  void* GetHandle() override { return this; }

 private:
  std::shared_ptr<FakeCurlState> m_state;
};

class FakeCurlFactory : public strmcommon::ICurlFactory {
 public:
  explicit FakeCurlFactory(std::shared_ptr<FakeCurlState> state) : m_state(std::move(state)) {}
  strmcommon::ICurlEasy* CreateCurlEasy() override;
  strmcommon::ICurlMulti* CreateCurlMulti() override;
  void ReleaseCurlEasy(strmcommon::ICurlEasy* easy) override;
  void ReleaseCurlMulti(strmcommon::ICurlMulti* multi) override;

 private:
  std::shared_ptr<FakeCurlState> m_state;
};

// A finished-transfer message as the real multi handle would deliver it.
strmcommon::CurlMsg DoneMessage(void* unit, CURLcode result, char* primaryIp = nullptr,
                                char* localIp = nullptr);

}  // namespace testsupport

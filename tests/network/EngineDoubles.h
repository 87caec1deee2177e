// Test doubles for the body, result and control tests of the engine: an easy handle that counts
// pause calls and can run code inside its resume (as libcurl hands held-back data over there), a
// measurement sink that records its calls, and a fake-handle engine that exposes the rest of
// Curl's state.
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "EngineFixture.h"
#include "IDownloadEvent.h"

namespace enginetest {

class ScriptedEasy : public testsupport::FakeCurlEasy {
 public:
  using FakeCurlEasy::FakeCurlEasy;
  bool Pause() override {
    ++pauseCalls;
    return FakeCurlEasy::Pause();
  }
  bool Resume() override {
    ++resumeCalls;
    if (onResume) onResume();
    return FakeCurlEasy::Resume();
  }
  bool SetOpt(CURLoption option, void const* value) override {
    if (onSetOpt) onSetOpt(option);
    return FakeCurlEasy::SetOpt(option, value);
  }

  int pauseCalls = 0;
  int resumeCalls = 0;
  std::function<void()> onResume;
  std::function<void(CURLoption)> onSetOpt;
};

class RecordingEvent : public strmcommon::IDownloadEvent {
 public:
  struct Rx {
    unsigned int previousTime;
    unsigned int now;
    unsigned int size;
    int streamIdx;
    int segmentIdx;
    int tag;
  };
  void AddRxTimeInfo(unsigned int previousTime, unsigned int now, unsigned int size, int streamIdx,
                     int segmentIdx, int tag) override {
    std::lock_guard<std::mutex> guard(m_lock);
    rx.push_back({previousTime, now, size, streamIdx, segmentIdx, tag});
    calls.push_back("rx");
  }
  void ResetRxBaseTime(long long now) override {
    std::lock_guard<std::mutex> guard(m_lock);
    resets.push_back(now);
    calls.push_back("reset");
  }
  bool Islowlatency() override { return false; }

  std::vector<Rx> rx;
  std::vector<long long> resets;
  std::vector<std::string> calls;

 private:
  std::mutex m_lock;
};

// The fake-handle engine with the fields the probe leaves protected.
class EngineProbe : public testsupport::CurlProbe {
 public:
  using Curl::m_cookieHeader;
  using Curl::m_lastPauseTime;
  using Curl::m_lastResumeTime;
  using Curl::m_redirects;
  using CurlProbe::CurlProbe;
};

// FakeEngineTest's set-up over EngineProbe, with helpers to feed body chunks as libcurl would.
class FakeBodyTest : public ::testing::Test {
 protected:
  void SetUp() override {
    engineinterpose::Reset();
    system_info_stub_set_mode(SYSTEM_INFO_STUB_FALSE);
    state = std::make_shared<testsupport::FakeCurlState>();
    curl = std::make_unique<EngineProbe>(strmcommon::CURL_THREAD_FIXED, 0, "/tmp/strmcommon-test",
                                         new testsupport::FakeCurlFactory(state));
    curl->Init(&client, &event);
  }
  void TearDown() override {
    engineinterpose::Reset();
    if (curl) {
      curl->m_quit = false;
      curl->Quit();
      curl.reset();
    }
    system_info_stub_set_mode(SYSTEM_INFO_STUB_LOOKUP);
  }

  // Begins a plain GET and gives the unit a ScriptedEasy in place of its fresh handle.
  strmcommon::UnitObject* BeginScripted(strmcommon::UserData data = Data(), bool noMeasure = false,
                                        const std::string& url = "http://media.test/a.ts") {
    strmcommon::UnitObject* unit = nullptr;
    curl->LockMutItem();
    int result = curl->BeginDownload(0, url, false, unit, noMeasure, data);
    curl->UnlockMutItem();
    EXPECT_EQ(result, 0);
    if (unit == nullptr) return nullptr;
    auto* easy = new ScriptedEasy(state);
    state->easies.push_back(easy);
    curl->m_factory->ReleaseCurlEasy(unit->m_easy);
    unit->m_easy = easy;
    return unit;
  }
  ScriptedEasy* EasyOf(strmcommon::UnitObject* unit) {
    return static_cast<ScriptedEasy*>(unit->m_easy);
  }

  // size bytes of the generated body from offset on.
  static std::vector<unsigned char> Bytes(size_t offset, size_t size) {
    std::vector<unsigned char> bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = testsupport::ContentByte(offset + i);
    return bytes;
  }
  // One chunk through libcurl's write callback, under the engine lock as on the worker thread.
  size_t Feed(strmcommon::UnitObject* unit, std::vector<unsigned char> bytes) {
    curl->LockMutItem();
    size_t result = strmcommon::Curl::EasyDownloadCB(bytes.data(), 1, bytes.size(), unit);
    curl->UnlockMutItem();
    return result;
  }
  // Runs a worker pass that finishes unit with result and status.
  void Finish(strmcommon::UnitObject* unit, CURLcode result, long status = 0) {
    EasyOf(unit)->longInfo[CURLINFO_RESPONSE_CODE] = status;
    state->messages.push_back(testsupport::DoneMessage(unit, result));
    curl->Process();
  }

  std::shared_ptr<testsupport::FakeCurlState> state;
  testsupport::CollectingClient client;
  RecordingEvent event;
  std::unique_ptr<EngineProbe> curl;
};

}  // namespace enginetest

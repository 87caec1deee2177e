// Shared set-up of the engine tests: an engine over substitute handles (driven by calling
// Process() from the test thread) or over libcurl with its worker thread.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>

#include "CurlProbe.h"
#include "EngineInterpose.h"
#include "FakeCurl.h"
#include "LogCapture.h"
#include "WaitFor.h"
#include "system_info.h"

namespace enginetest {

inline strmcommon::UserData Data(int type = 1, int state = 0,
                                 int bitrate = strmcommon::kBitrateUnknown) {
  return strmcommon::UserData{type, 2, 3, bitrate, state, 4};
}

// An engine over FakeCurlFactory. Quit runs in TearDown so no handle leaks.
class FakeEngineTest : public ::testing::Test {
 protected:
  void SetUp() override {
    engineinterpose::Reset();
    system_info_stub_set_mode(SYSTEM_INFO_STUB_FALSE);
    state = std::make_shared<testsupport::FakeCurlState>();
    curl = std::make_unique<testsupport::CurlProbe>(strmcommon::CURL_THREAD_FIXED, 0,
                                                    "/tmp/strmcommon-test",
                                                    new testsupport::FakeCurlFactory(state));
    curl->Init(&client, nullptr);
  }
  void TearDown() override {
    engineinterpose::Reset();
    if (curl) {
      curl->Quit();
      curl.reset();
    }
    system_info_stub_set_mode(SYSTEM_INFO_STUB_LOOKUP);
  }

  // Begins a plain GET under the engine lock, as a client beginning from several threads would.
  int Begin(strmcommon::UnitObject*& unit, const std::string& url = "http://media.test/a.ts",
            strmcommon::UserData data = Data()) {
    curl->LockMutItem();
    int result = curl->BeginDownload(0, url, false, unit, false, data);
    curl->UnlockMutItem();
    return result;
  }

  testsupport::FakeCurlEasy* EasyOf(strmcommon::UnitObject* unit) {
    return static_cast<testsupport::FakeCurlEasy*>(unit->m_easy);
  }

  std::shared_ptr<testsupport::FakeCurlState> state;
  testsupport::CollectingClient client;
  std::unique_ptr<testsupport::CurlProbe> curl;
};

// An engine over libcurl talking to a loopback server, its worker thread started.
class LiveEngineTest : public ::testing::Test {
 protected:
  void SetUp() override {
    system_info_stub_set_mode(SYSTEM_INFO_STUB_FALSE);
    curl = std::make_unique<testsupport::CurlProbe>(strmcommon::CURL_THREAD_FIXED, 0,
                                                    "/tmp/strmcommon-test");
    curl->Init(&client, nullptr);
    ASSERT_TRUE(curl->StartLoop());
  }
  void TearDown() override {
    if (curl) {
      curl->Quit();
      curl.reset();
    }
    system_info_stub_set_mode(SYSTEM_INFO_STUB_LOOKUP);
  }

  int Begin(strmcommon::UnitObject*& unit, const std::string& url,
            strmcommon::UserData data = Data()) {
    curl->LockMutItem();
    int result = curl->BeginDownload(0, url, false, unit, false, data);
    curl->UnlockMutItem();
    return result;
  }

  // Waits for the next finished unit, or null at the deadline.
  strmcommon::UnitObject* WaitCompleted(
      int& code, long& date, std::chrono::milliseconds deadline = std::chrono::seconds(30)) {
    strmcommon::UnitObject* unit = nullptr;
    testsupport::WaitFor(
        [&] {
          unit = curl->GetCompleted(code, date);
          return unit != nullptr;
        },
        deadline, std::chrono::milliseconds(1));
    return unit;
  }

  testsupport::LoopbackServer server;
  testsupport::CollectingClient client;
  std::unique_ptr<testsupport::CurlProbe> curl;
};

}  // namespace enginetest

// Begin operations over substitute handles: host slots, unit binding, the URL table, the options
// of a transfer and the accelerator prefix.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "EngineFixture.h"
#include "WholeLogLine.h"

namespace {

using enginetest::Data;
using strmcommon::err_failed;
using strmcommon::err_http_retry_over;
using strmcommon::err_invalidarg;
using strmcommon::err_none;
using strmcommon::err_retry;
using strmcommon::UnitObject;
using testsupport::DoneMessage;
using testsupport::HasWholeLine;
using testsupport::LogCapture;

const char kPrefix[] = "http://127.0.0.1:54321/proxy?url=";

class LowLatencyEvent : public strmcommon::IDownloadEvent {
 public:
  void AddRxTimeInfo(unsigned int, unsigned int, unsigned int, int, int, int) override {}
  void ResetRxBaseTime(long long) override {}
  bool Islowlatency() override { return lowLatency; }
  bool lowLatency = true;
};

class CurlSetup : public enginetest::FakeEngineTest {
 protected:
  std::string HostUrl(int n) { return "http://h" + std::to_string(n) + ".test/seg.ts"; }

  // Runs a unit through completion over the fakes and gives its slot back.
  void Finish(UnitObject* unit) {
    EasyOf(unit)->longInfo[CURLINFO_RESPONSE_CODE] = 200;
    state->messages.push_back(DoneMessage(unit, CURLE_OK));
    curl->Process();
    int code = -1;
    long date = -1;
    ASSERT_EQ(curl->GetCompleted(code, date), unit);
    curl->EndDownload(unit);
  }

  std::vector<CURLoption> OptionOrder(UnitObject* unit) {
    std::vector<CURLoption> order;
    for (const auto& entry : EasyOf(unit)->options) order.push_back(entry.first);
    return order;
  }

  std::string TextOption(UnitObject* unit, CURLoption option) {
    const void* value = EasyOf(unit)->Option(option);
    return value ? static_cast<const char*>(value) : "<unset>";
  }
};

TEST_F(CurlSetup, EveryConditionalOptionSetGivesTheFullOrder) {
  curl->SetProxy("http://proxy.test:3128");
  curl->SetCookie("user=1");
  curl->SetMaxNwSpeed(500000);
  std::string cookie = "sid=abc; Path=/";
  std::string host = "media.test";
  std::string path = "/";
  curl->SetCookieToPool(cookie, host, path);
  UnitObject* unit = nullptr;
  curl->LockMutItem();
  ASSERT_EQ(curl->BeginDownload2(0, "http://media.test/a.ts", "0-99", false, unit, false, Data(),
                                 true, "tag"),
            0);
  curl->UnlockMutItem();
  std::vector<CURLoption> expected = {CURLOPT_PROXY,
                                      CURLOPT_URL,
                                      CURLOPT_RANGE,
                                      CURLOPT_COOKIE,
                                      CURLOPT_HTTPHEADER,
                                      CURLOPT_FAILONERROR,
                                      CURLOPT_WRITEFUNCTION,
                                      CURLOPT_WRITEDATA,
                                      CURLOPT_HEADERFUNCTION,
                                      CURLOPT_HEADERDATA,
                                      CURLOPT_FOLLOWLOCATION,
                                      CURLOPT_HEADER,
                                      CURLOPT_NOBODY,
                                      CURLOPT_ERRORBUFFER,
                                      CURLOPT_PRIVATE,
                                      CURLOPT_NOSIGNAL,
                                      CURLOPT_TIMEOUT,
                                      CURLOPT_CONNECTTIMEOUT,
                                      CURLOPT_LOW_SPEED_LIMIT,
                                      CURLOPT_LOW_SPEED_TIME,
                                      CURLOPT_NOPROGRESS,
                                      CURLOPT_PROGRESSFUNCTION,
                                      CURLOPT_PROGRESSDATA,
                                      CURLOPT_ACCEPT_ENCODING,
                                      CURLOPT_FILETIME,
                                      CURLOPT_USERAGENT,
                                      CURLOPT_SSL_VERIFYPEER,
                                      CURLOPT_BUFFERSIZE,
                                      CURLOPT_MAX_RECV_SPEED_LARGE};
  EXPECT_EQ(OptionOrder(unit), expected);
  EXPECT_EQ(TextOption(unit, CURLOPT_PROXY), "http://proxy.test:3128");
  EXPECT_EQ(TextOption(unit, CURLOPT_RANGE), "0-99");
  EXPECT_EQ(TextOption(unit, CURLOPT_COOKIE), "sid=abc;");
  EXPECT_EQ(EasyOf(unit)->Option(CURLOPT_HTTPHEADER), curl->m_headers);
  // The headers-kept mode keeps error bodies.
  EXPECT_EQ(reinterpret_cast<long>(EasyOf(unit)->Option(CURLOPT_FAILONERROR)), 0);
}

TEST_F(CurlSetup, PlainRequestSetsOnlyTheUnconditionalOptionsWithTheirValues) {
  curl->SetConnDetails(7, 0);
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit), err_none);
  std::vector<CURLoption> expected = {CURLOPT_URL,
                                      CURLOPT_FAILONERROR,
                                      CURLOPT_WRITEFUNCTION,
                                      CURLOPT_WRITEDATA,
                                      CURLOPT_HEADERFUNCTION,
                                      CURLOPT_HEADERDATA,
                                      CURLOPT_FOLLOWLOCATION,
                                      CURLOPT_HEADER,
                                      CURLOPT_NOBODY,
                                      CURLOPT_ERRORBUFFER,
                                      CURLOPT_PRIVATE,
                                      CURLOPT_NOSIGNAL,
                                      CURLOPT_TIMEOUT,
                                      CURLOPT_CONNECTTIMEOUT,
                                      CURLOPT_LOW_SPEED_LIMIT,
                                      CURLOPT_LOW_SPEED_TIME,
                                      CURLOPT_NOPROGRESS,
                                      CURLOPT_PROGRESSFUNCTION,
                                      CURLOPT_PROGRESSDATA,
                                      CURLOPT_ACCEPT_ENCODING,
                                      CURLOPT_FILETIME,
                                      CURLOPT_USERAGENT,
                                      CURLOPT_SSL_VERIFYPEER,
                                      CURLOPT_BUFFERSIZE};
  EXPECT_EQ(OptionOrder(unit), expected);
  auto number = [&](CURLoption option) {
    return reinterpret_cast<long>(EasyOf(unit)->Option(option));
  };
  EXPECT_EQ(number(CURLOPT_FAILONERROR), 1);
  EXPECT_EQ(number(CURLOPT_FOLLOWLOCATION), 1);
  EXPECT_EQ(number(CURLOPT_HEADER), 0);
  EXPECT_EQ(number(CURLOPT_NOBODY), 0);
  EXPECT_EQ(EasyOf(unit)->Option(CURLOPT_ERRORBUFFER), unit->m_errorBuf);
  EXPECT_EQ(EasyOf(unit)->Option(CURLOPT_PRIVATE), unit);
  EXPECT_EQ(EasyOf(unit)->Option(CURLOPT_WRITEDATA), unit);
  EXPECT_EQ(EasyOf(unit)->Option(CURLOPT_HEADERDATA), unit);
  EXPECT_EQ(EasyOf(unit)->Option(CURLOPT_PROGRESSDATA), unit);
  EXPECT_EQ(number(CURLOPT_NOSIGNAL), 1);
  EXPECT_EQ(number(CURLOPT_TIMEOUT), 120);
  EXPECT_EQ(number(CURLOPT_CONNECTTIMEOUT), 7);
  EXPECT_EQ(number(CURLOPT_LOW_SPEED_LIMIT), 2048);
  EXPECT_EQ(number(CURLOPT_LOW_SPEED_TIME), 28);
  EXPECT_EQ(number(CURLOPT_NOPROGRESS), 0);
  EXPECT_EQ(TextOption(unit, CURLOPT_ACCEPT_ENCODING), "");
  EXPECT_EQ(number(CURLOPT_FILETIME), 1);
  EXPECT_EQ(TextOption(unit, CURLOPT_USERAGENT), "corvane-agent/1.1");
  EXPECT_EQ(number(CURLOPT_SSL_VERIFYPEER), 0);
  EXPECT_EQ(number(CURLOPT_BUFFERSIZE), 32768);
}

TEST_F(CurlSetup, CookieLineIsLoggedEvenWhenThePoolHasNothing) {
  LogCapture capture;
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit), err_none);
  EXPECT_EQ(capture.Count(" Cookie[]"), 1u);
  EXPECT_FALSE(EasyOf(unit)->HasOption(CURLOPT_COOKIE));
}

TEST_F(CurlSetup, CookieFromThePoolIsSentOnlyToItsHost) {
  std::string cookie = "sid=abc";
  std::string host = "media.test";
  std::string path = "/";
  curl->SetCookieToPool(cookie, host, path);
  LogCapture capture;
  UnitObject* own = nullptr;
  ASSERT_EQ(Begin(own, "http://media.test/a.ts"), err_none);
  UnitObject* other = nullptr;
  ASSERT_EQ(Begin(other, "http://other.test/a.ts"), err_none);
  EXPECT_EQ(TextOption(own, CURLOPT_COOKIE), "sid=abc;");
  EXPECT_EQ(capture.Count(" Cookie[sid=abc;]"), 1u);
  EXPECT_FALSE(EasyOf(other)->HasOption(CURLOPT_COOKIE));
}

TEST_F(CurlSetup, ConditionalRequestNeverSendsIfModifiedSince) {
  UnitObject* unit = nullptr;
  curl->LockMutItem();
  ASSERT_EQ(curl->BeginDownload(0, "http://media.test/list.m3u8", true, unit, false, Data()),
            err_none);
  curl->UnlockMutItem();
  int entry = unit->m_urlIndex;
  curl->m_urlInfo[entry].fileTime = 1700000000;
  Finish(unit);
  curl->LockMutItem();
  ASSERT_EQ(curl->BeginDownload(0, "http://media.test/list.m3u8", true, unit, false, Data()),
            err_none);
  curl->UnlockMutItem();
  // The entry found by URL is reused and its file time cleared before the options are set.
  EXPECT_EQ(unit->m_urlIndex, entry);
  EXPECT_EQ(curl->m_urlInfo[entry].fileTime, 0);
  EXPECT_FALSE(EasyOf(unit)->HasOption(CURLOPT_TIMECONDITION));
  EXPECT_FALSE(EasyOf(unit)->HasOption(CURLOPT_TIMEVALUE));
}

TEST_F(CurlSetup, ConditionalRequestsFillTheSecondHalfOfTheTableFromEntryTwenty) {
  UnitObject* unit = nullptr;
  for (int i = 0; i < 20; ++i) {
    curl->LockMutItem();
    ASSERT_EQ(curl->BeginDownload(0, "http://media.test/c" + std::to_string(i), true, unit, false,
                                  Data()),
              0);
    curl->UnlockMutItem();
    // Entries still at lastUse 0 are the oldest, lowest index first.
    EXPECT_EQ(unit->m_urlIndex, 20 + i);
    EXPECT_TRUE(curl->m_urlInfo[20 + i].conditional);
    Finish(unit);
  }
  // A plain request uses the entry of its slot.
  ASSERT_EQ(Begin(unit, "http://media.test/plain"), err_none);
  EXPECT_EQ(unit->m_urlIndex, unit->m_index);
  EXPECT_EQ(curl->m_urlInfo[unit->m_index].url, "http://media.test/plain");
}

TEST_F(CurlSetup, TwentyFirstConditionalUrlReplacesTheEntryUsedLongestAgo) {
  for (int i = 0; i < 20; ++i) {
    curl->m_urlInfo[20 + i].url = "http://media.test/c" + std::to_string(i);
    curl->m_urlInfo[20 + i].lastUse = 1000 + i;
  }
  curl->m_urlInfo[27].lastUse = 5;
  curl->m_urlInfo[31].lastUse = 5;
  UnitObject* unit = nullptr;
  curl->LockMutItem();
  ASSERT_EQ(curl->BeginDownload(0, "http://media.test/new", true, unit, false, Data()), err_none);
  curl->UnlockMutItem();
  // The tie goes to the lower index.
  EXPECT_EQ(unit->m_urlIndex, 27);
  EXPECT_EQ(curl->m_urlInfo[27].url, "http://media.test/new");
  EXPECT_GT(curl->m_urlInfo[27].lastUse, 5);
  EXPECT_EQ(curl->m_urlInfo[31].url, "http://media.test/c11");
}

TEST_F(CurlSetup, ConditionalEntriesAllNewerThanNowFallBackToEntryTwenty) {
  for (int i = 0; i < 20; ++i) {
    curl->m_urlInfo[20 + i].url = "http://media.test/c" + std::to_string(i);
    curl->m_urlInfo[20 + i].lastUse = 1LL << 62;
  }
  UnitObject* unit = nullptr;
  curl->LockMutItem();
  ASSERT_EQ(curl->BeginDownload(0, "http://media.test/new", true, unit, false, Data()), err_none);
  curl->UnlockMutItem();
  EXPECT_EQ(unit->m_urlIndex, 20);
}

TEST_F(CurlSetup, ElevenDistinctHostsTakeSlotsOneToNineThenShareSlotZero) {
  std::vector<UnitObject*> units(11, nullptr);
  for (int i = 0; i < 11; ++i) ASSERT_EQ(Begin(units[i], HostUrl(i + 1)), err_none);
  for (int i = 0; i < 9; ++i) {
    EXPECT_EQ(units[i]->m_hostIndex, i + 1);
    EXPECT_EQ(curl->m_hosts[i + 1], "h" + std::to_string(i + 1) + ".test");
  }
  EXPECT_EQ(units[9]->m_hostIndex, 0);
  EXPECT_EQ(units[10]->m_hostIndex, 0);
  EXPECT_EQ(curl->m_hosts[0], "");
}

TEST_F(CurlSetup, SameHostTextFindsItsSlotAgain) {
  UnitObject* a = nullptr;
  UnitObject* b = nullptr;
  UnitObject* c = nullptr;
  ASSERT_EQ(Begin(a, "http://one.test/a"), err_none);
  ASSERT_EQ(Begin(b, "http://two.test/a"), err_none);
  ASSERT_EQ(Begin(c, "http://one.test:8080/other?q=1"), err_none);
  EXPECT_EQ(a->m_hostIndex, 1);
  EXPECT_EQ(b->m_hostIndex, 2);
  EXPECT_EQ(c->m_hostIndex, 1);
}

TEST_F(CurlSetup, UrlWithoutAHostGoesToSlotZero) {
  UnitObject* unit = nullptr;
  curl->LockMutItem();
  ASSERT_EQ(
      curl->BeginDownload2(0, "not a url", "", false, unit, false, Data(), false, std::string()),
      0);
  curl->UnlockMutItem();
  EXPECT_EQ(unit->m_hostIndex, 0);
  EXPECT_EQ(curl->m_hosts[1], "");
}

TEST_F(CurlSetup, TwentyHostsBindTheWholePoolForGood) {
  std::vector<UnitObject*> units(20, nullptr);
  for (int i = 0; i < 20; ++i) ASSERT_EQ(Begin(units[i], HostUrl(i + 1)), err_none);
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(units[i], &curl->m_units[i].second);
    EXPECT_EQ(units[i]->m_hostIndex, i < 9 ? i + 1 : 0);
  }
  for (UnitObject* unit : units) Finish(unit);
  ASSERT_TRUE(curl->IsIdle());

  // Host 1 owns unit 0 alone: a second transfer at once finds no unit.
  UnitObject* first = nullptr;
  ASSERT_EQ(Begin(first, HostUrl(1)), err_none);
  EXPECT_EQ(first, units[0]);
  LogCapture capture;
  UnitObject* second = nullptr;
  EXPECT_EQ(Begin(second, HostUrl(1)), err_failed);
  EXPECT_EQ(second, nullptr);
  EXPECT_EQ(capture.Count("ERROR!! max concurrent download over"), 1u);

  // Hosts without a slot of their own share the eleven units bound to slot 0.
  UnitObject* shared = nullptr;
  ASSERT_EQ(Begin(shared, HostUrl(30)), err_none);
  EXPECT_EQ(shared, units[9]);
  ASSERT_EQ(Begin(shared, HostUrl(12)), err_none);
  EXPECT_EQ(shared, units[10]);
}

TEST_F(CurlSetup, UnitsOfOneHostRefuseASecondHostEvenAfterTheyAllEnded) {
  std::vector<UnitObject*> units(20, nullptr);
  for (int i = 0; i < 20; ++i)
    ASSERT_EQ(Begin(units[i], "http://media.test/" + std::to_string(i)), err_none);
  for (UnitObject* unit : units) Finish(unit);
  LogCapture capture;
  UnitObject* other = nullptr;
  EXPECT_EQ(Begin(other, "http://other.test/a"), err_failed);
  auto lines = capture.WithMessage("ERROR!! max concurrent download over");
  EXPECT_TRUE(HasWholeLine(capture, "CurlSetup.cpp", "BeginDownloadImpl",
                           "ERROR!! max concurrent download over"));
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 6);
  // The slot of the refused host was still handed out.
  EXPECT_EQ(curl->m_hosts[2], "other.test");
}

TEST_F(CurlSetup, RetryLandingOnTheSameSlotGoesOnCounting) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit), err_none);
  UnitObject* held = unit;
  curl->m_units[held->m_index].first = false;
  held->code = err_retry;
  held->m_retry = 4;
  ASSERT_EQ(Begin(unit), err_none);
  EXPECT_EQ(unit, held);
  EXPECT_EQ(unit->m_retry, 4u);
  EXPECT_EQ(unit->code, err_none);
  curl->m_units[held->m_index].first = false;
  unit->code = err_http_retry_over;
  ASSERT_EQ(Begin(unit), err_none);
  EXPECT_EQ(unit->m_retry, 0u);
}

TEST_F(CurlSetup, HeadersKeptModeKeepsTheRetryCountAndTheTagUnlessTheNewTagIsEmpty) {
  UnitObject* unit = nullptr;
  curl->LockMutItem();
  ASSERT_EQ(curl->BeginDownload2(0, "http://media.test/a", "5-9", false, unit, false, Data(), true,
                                 "first"),
            0);
  curl->UnlockMutItem();
  EXPECT_TRUE(unit->m_isCurlDebug);
  EXPECT_EQ(unit->m_debugTag, "first");
  EXPECT_EQ(unit->m_debugRange, "5-9");
  curl->m_units[unit->m_index].first = false;
  unit->m_retry = 3;
  unit->m_rawHeader = "old";
  curl->LockMutItem();
  ASSERT_EQ(
      curl->BeginDownload2(0, "http://media.test/a", "", false, unit, false, Data(), true, ""), 0);
  curl->UnlockMutItem();
  EXPECT_EQ(unit->m_retry, 3u);
  EXPECT_EQ(unit->m_debugTag, "first");
  EXPECT_EQ(unit->m_debugRange, "");
  EXPECT_EQ(unit->m_rawHeader, "");
}

TEST_F(CurlSetup, UrlWithHttpOnlyAfterItsSchemeIsSplitThere) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, "ftp://mirror.test/httpdocs/a.ts"), err_none);
  EXPECT_EQ(curl->m_urlInfo[unit->m_urlIndex].range, "ftp://mirror.test/");
  EXPECT_EQ(curl->m_urlInfo[unit->m_urlIndex].url, "httpdocs/a.ts");
  EXPECT_EQ(TextOption(unit, CURLOPT_RANGE), "ftp://mirror.test/");
}

TEST_F(CurlSetup, AcceleratorPrefixGoesOnlyIntoTheRequestUrl) {
  std::string cookie = "sid=1";
  std::string host = "media.test";
  std::string path = "/";
  curl->SetCookieToPool(cookie, host, path);
  curl->m_useAccelerator = true;
  LogCapture capture;
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, "http://media.test/a.ts?x=1"), err_none);
  EXPECT_EQ(TextOption(unit, CURLOPT_URL), std::string(kPrefix) + "http://media.test/a.ts?x=1");
  EXPECT_EQ(unit->m_url, "http://media.test/a.ts?x=1");
  EXPECT_EQ(curl->m_urlInfo[unit->m_urlIndex].url, "http://media.test/a.ts?x=1");
  // The cookie lookup went by the plain URL.
  EXPECT_EQ(TextOption(unit, CURLOPT_COOKIE), "sid=1;");
  auto lines = capture.WithMessage("using http accelerator, inserting prefixed string pattern");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 6);
  EXPECT_EQ(capture.Count("working without accelerator"), 0u);
}

TEST_F(CurlSetup, WithoutAcceleratorTheUrlIsPlainAndTheLineSaysSo) {
  LogCapture capture;
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, "http://media.test/a.ts"), err_none);
  EXPECT_EQ(TextOption(unit, CURLOPT_URL), "http://media.test/a.ts");
  auto lines = capture.WithMessage("working without accelerator");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 3);
}

TEST_F(CurlSetup, StripAcceleratorPatternRemovesAPrefixAtTheStartAndClearsTheFlag) {
  curl->m_useAccelerator = true;
  std::string url = std::string(kPrefix) + "http://media.test/a.ts";
  LogCapture capture;
  curl->StripAcceleratorPattern(url);
  EXPECT_EQ(url, "http://media.test/a.ts");
  EXPECT_FALSE(curl->m_useAccelerator);
  auto lines = capture.WithMessage("Not using HTTP accelerator");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 6);
}

TEST_F(CurlSetup, StripAcceleratorPatternIgnoresAPrefixFurtherInside) {
  curl->m_useAccelerator = true;
  std::string url = std::string(" ") + kPrefix + "http://media.test/a.ts";
  const std::string before = url;
  LogCapture capture;
  curl->StripAcceleratorPattern(url);
  EXPECT_EQ(url, before);
  EXPECT_TRUE(curl->m_useAccelerator);
  EXPECT_TRUE(capture.Lines().empty());
}

TEST_F(CurlSetup, StripAcceleratorPatternIgnoresAShortenedPrefix) {
  std::string url = std::string(kPrefix).substr(0, 32);
  curl->StripAcceleratorPattern(url);
  EXPECT_EQ(url, std::string(kPrefix).substr(0, 32));
}

TEST_F(CurlSetup, BeginDownload3OnLowLatencyStripsAOneParameterQueryForGood) {
  LowLatencyEvent event;
  curl->Init(&client, &event);
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, "http://media.test/live.m3u8?_HLS_msn=5"), err_none);
  int index = unit->m_urlIndex;
  Finish(unit);
  LogCapture capture;
  curl->LockMutItem();
  ASSERT_EQ(curl->BeginDownload3(index, unit, false, Data()), err_none);
  curl->UnlockMutItem();
  EXPECT_EQ(TextOption(unit, CURLOPT_URL), "http://media.test/live.m3u8");
  EXPECT_EQ(curl->m_urlInfo[unit->m_urlIndex].url, "http://media.test/live.m3u8");
  auto inside = capture.WithMessage(">> inside low latency check");
  ASSERT_EQ(inside.size(), 1u);
  EXPECT_EQ(inside[0].priority, 6);
  EXPECT_EQ(capture.Count(">> Curl::BeginDownload3 Removal of query string ( _HLS_msn=5 ) to give "
                          "url(http://media.test/live.m3u8) "),
            1u);
}

TEST_F(CurlSetup, BeginDownload3WithoutQueryStillLogsTheRemoval) {
  LowLatencyEvent event;
  curl->Init(&client, &event);
  curl->m_urlInfo[3].url = "http://media.test/live.m3u8";
  LogCapture capture;
  UnitObject* unit = nullptr;
  curl->LockMutItem();
  ASSERT_EQ(curl->BeginDownload3(3, unit, false, Data()), err_none);
  curl->UnlockMutItem();
  EXPECT_EQ(curl->m_urlInfo[3].url, "http://media.test/live.m3u8");
  EXPECT_EQ(capture.Count(">> Curl::BeginDownload3 Removal of query string (  ) to give "
                          "url(http://media.test/live.m3u8) "),
            1u);
}

TEST_F(CurlSetup, BeginDownload3StripsTheFirstOccurrenceOfTheQueryText) {
  LowLatencyEvent event;
  curl->Init(&client, &event);
  // "a=1" stands first in the path: that occurrence and the byte before it go.
  curl->m_urlInfo[3].url = "http://media.test/xa=1/p?a=1";
  UnitObject* unit = nullptr;
  curl->LockMutItem();
  ASSERT_EQ(curl->BeginDownload3(3, unit, false, Data()), err_none);
  curl->UnlockMutItem();
  EXPECT_EQ(curl->m_urlInfo[3].url, "http://media.test//p?a=1");
}

TEST_F(CurlSetup, BeginDownload3WithABareQuestionMarkThrowsOutOfRange) {
  LowLatencyEvent event;
  curl->Init(&client, &event);
  curl->m_urlInfo[3].url = "http://media.test/live.m3u8?";
  UnitObject* unit = nullptr;
  try {
    curl->BeginDownload3(3, unit, false, Data());
    FAIL() << "no exception";
  } catch (const std::out_of_range& e) {
    EXPECT_NE(std::string(e.what()).find("basic_string::erase"), std::string::npos);
  }
  EXPECT_EQ(unit, nullptr);
  EXPECT_TRUE(curl->IsIdle());
}

TEST_F(CurlSetup, BeginDownload3WithAQueryCanonicalisedIntoOtherTextThrowsOutOfRange) {
  LowLatencyEvent event;
  curl->Init(&client, &event);
  curl->m_urlInfo[3].url = "http://media.test/live.m3u8?a b";
  UnitObject* unit = nullptr;
  EXPECT_THROW(curl->BeginDownload3(3, unit, false, Data()), std::out_of_range);
  EXPECT_EQ(curl->m_urlInfo[3].url, "http://media.test/live.m3u8?a b");
}

TEST_F(CurlSetup, BeginDownload3WithoutLowLatencyKeepsTheQuery) {
  LowLatencyEvent event;
  event.lowLatency = false;
  curl->Init(&client, &event);
  curl->m_urlInfo[3].url = "http://media.test/live.m3u8?a=1";
  LogCapture capture;
  UnitObject* unit = nullptr;
  curl->LockMutItem();
  ASSERT_EQ(curl->BeginDownload3(3, unit, false, Data()), err_none);
  curl->UnlockMutItem();
  EXPECT_EQ(TextOption(unit, CURLOPT_URL), "http://media.test/live.m3u8?a=1");
  EXPECT_EQ(capture.Count(">> inside low latency check"), 0u);
}

TEST_F(CurlSetup, BeginDownload3OfAnEmptyEntryFailsWithMinusThirteen) {
  LowLatencyEvent event;
  event.lowLatency = false;
  curl->Init(&client, &event);
  UnitObject* unit = nullptr;
  EXPECT_EQ(curl->BeginDownload3(25, unit, false, Data()), err_invalidarg);
}

TEST_F(CurlSetup, DummyDownloadMakesTheUnitCountAsSlotZero) {
  UnitObject* first = nullptr;
  ASSERT_EQ(Begin(first, HostUrl(1)), err_none);
  char body[] = "key";
  UnitObject* unit = nullptr;
  curl->LockMutItem();
  ASSERT_EQ(curl->DummyDownload(0, HostUrl(2), false, unit, false, Data(), body, 3), err_none);
  curl->UnlockMutItem();
  // The second slot of the pool was taken, and the host got a slot of its own.
  EXPECT_EQ(unit, &curl->m_units[1].second);
  EXPECT_EQ(curl->m_hosts[2], "h2.test");
  EXPECT_EQ(unit->m_index, 0);
  EXPECT_EQ(unit->m_hostIndex, 0);
  EXPECT_EQ(unit->m_urlIndex, 0);
  EXPECT_TRUE(curl->m_units[1].first);
  int code = -1;
  long date = -1;
  ASSERT_EQ(curl->GetCompleted(code, date), unit);
  // EndDownload goes by m_index: it frees slot 0, not the slot the unit stands in.
  EXPECT_EQ(curl->EndDownload(unit), err_none);
  EXPECT_FALSE(curl->m_units[0].first);
  EXPECT_TRUE(curl->m_units[1].first);
}

TEST_F(CurlSetup, DummyDownloadUnitIsOpenToEveryHostWithoutASlot) {
  char body[] = "key";
  UnitObject* unit = nullptr;
  curl->LockMutItem();
  ASSERT_EQ(curl->DummyDownload(0, HostUrl(1), false, unit, false, Data(), body, 3), err_none);
  curl->UnlockMutItem();
  int code = -1;
  long date = -1;
  ASSERT_EQ(curl->GetCompleted(code, date), unit);
  ASSERT_EQ(curl->EndDownload(unit), err_none);
  ASSERT_EQ(unit, &curl->m_units[0].second);
  for (int i = 2; i <= 9; ++i) curl->m_hosts[i] = "taken" + std::to_string(i);
  // Host 1 owns slot 1, but the unit now counts as bound to slot 0.
  UnitObject* next = nullptr;
  ASSERT_EQ(Begin(next, HostUrl(1)), err_none);
  EXPECT_EQ(next, &curl->m_units[1].second);
  Finish(next);
  UnitObject* stranger = nullptr;
  ASSERT_EQ(Begin(stranger, HostUrl(50)), err_none);
  EXPECT_EQ(stranger, unit);
}

TEST_F(CurlSetup, DummyDownloadLeavesRetryRedirectAndTheTableAlone) {
  curl->m_urlInfo[0].url = "http://kept.test/";
  curl->m_units[0].second.m_retry = 3;
  curl->m_units[0].second.m_redirecting = true;
  char body[] = "";
  UnitObject* unit = nullptr;
  curl->LockMutItem();
  ASSERT_EQ(curl->DummyDownload(0, HostUrl(1), false, unit, false, Data(), body, 0), err_none);
  curl->UnlockMutItem();
  EXPECT_EQ(unit->m_retry, 3u);
  EXPECT_TRUE(unit->m_redirecting);
  EXPECT_EQ(curl->m_urlInfo[0].url, "http://kept.test/");
  EXPECT_EQ(unit->m_url, HostUrl(1));
}

TEST_F(CurlSetup, DummyDownloadWithoutAUnitFailsWithMinusThirteen) {
  std::vector<UnitObject*> units(20, nullptr);
  for (int i = 0; i < 20; ++i) ASSERT_EQ(Begin(units[i], HostUrl(1)), err_none);
  char body[] = "x";
  UnitObject* unit = nullptr;
  LogCapture capture;
  curl->LockMutItem();
  EXPECT_EQ(curl->DummyDownload(0, HostUrl(1), false, unit, false, Data(), body, 1),
            err_invalidarg);
  curl->UnlockMutItem();
  EXPECT_EQ(unit, nullptr);
  EXPECT_EQ(capture.Count("Curl unit not alloted"), 1u);
}

TEST_F(CurlSetup, DummyDownloadWithAnOlderKeyOrAnEmptyUrl) {
  curl->m_requestKey = 5;
  char body[] = "x";
  UnitObject* unit = nullptr;
  LogCapture capture;
  EXPECT_EQ(curl->DummyDownload(4, HostUrl(1), false, unit, false, Data(), body, 1), err_none);
  EXPECT_EQ(capture.Count("Curl::BeginDownload"), 1u);
  EXPECT_EQ(curl->DummyDownload(5, "", false, unit, false, Data(), body, 1), err_invalidarg);
  EXPECT_EQ(capture.Count("Curl err_invalidarg"), 1u);
  EXPECT_EQ(unit, nullptr);
  EXPECT_TRUE(curl->IsIdle());
}

TEST_F(CurlSetup, DummyDownloadIgnoresQuit) {
  curl->m_quit = true;
  char body[] = "x";
  UnitObject* unit = nullptr;
  curl->LockMutItem();
  EXPECT_EQ(curl->DummyDownload(0, HostUrl(1), false, unit, false, Data(), body, 1), err_none);
  curl->UnlockMutItem();
  EXPECT_NE(unit, nullptr);
  curl->m_quit = false;
}

}  // namespace

#include "BandwidthChecker.h"

#include <cstdint>

#include "Clock.h"
#include "DLog.h"
#include "Width32.h"

namespace strmcommon {

namespace {

// a - b on 64-bit clock values, wrapping like the device's arithmetic instead of overflowing.
long long Sub64(long long a, long long b) {
  return static_cast<long long>(static_cast<unsigned long long>(a) -
                                static_cast<unsigned long long>(b));
}

// The engine's record of a stream: its third 32-bit word is the declared bit rate.
unsigned int DeclaredBitrate(const void* streamInfo) {
  return static_cast<const uint32_t*>(streamInfo)[2];
}

}  // namespace

BandwidthChecker::BandwidthChecker()
    : m_currentBandwidth(0),
      m_currentMinBandwidth(0),
      m_currentAvgBandwidth(0),
      m_beginingBandwidth(0),
      m_variationRateBandwidth(0),
      m_downloadPerHour(0),
      m_startRxBytes(0),
      m_startTime(0),
      m_rxFirstTime(INT64_MAX),
      m_lastPushRxBytes(0),
      m_lastPushTime(0),
      m_bwSamples(),
      m_bwCounter(0),
      m_bwWriteIndex(0),
      m_llsegbw(false),
      m_monitoring(false),
      m_monitorInterval(0),
      m_rxTotalBytes(0),
      m_rxLastTime(0),
      m_dataHandler(nullptr),
      m_latestTimeDuration(0.0f),
      m_ignoreFirstEntry(true) {
  SetMonitorInterval(250);
}

BandwidthChecker::~BandwidthChecker() {}

void BandwidthChecker::Init(strmengine::CHLSDataHandler* dataHandler) {
  m_dataHandler = dataHandler;
}

bool BandwidthChecker::Start() {
  VAS_LOG_DEBUG("!! BandwidthChecker::Start");
  m_startRxBytes = m_rxTotalBytes;
  m_startTime = static_cast<long long>(vas_getTime());
  m_monitoring = true;
  m_lastPushRxBytes = m_startRxBytes;
  m_lastPushTime = m_startTime;
  VAS_LOG_DEBUG("BandwidthChecker::Start");
  // Intended: a restart leaves low-latency mode off until the engine sets it again.
  m_llsegbw = false;
  return true;
}

bool BandwidthChecker::Stop() {
  VAS_LOG_DEBUG("!! BandwidthChecker::Stop");
  m_monitoring = false;
  VAS_LOG_DEBUG("BandwidthChecker::Stop");
  return true;
}

bool BandwidthChecker::IsMonitoring() { return m_monitoring; }

void BandwidthChecker::Setllsegbw(bool llsegbw) { m_llsegbw = llsegbw; }

void BandwidthChecker::SetMonitorInterval(unsigned int interval) { m_monitorInterval = interval; }

unsigned int BandwidthChecker::GetMonitorInterval() { return m_monitorInterval; }

int BandwidthChecker::GetCurrentBandwidth() { return m_currentBandwidth; }

// Never written after construction: always 0.
int BandwidthChecker::GetBeginingBandwidth() { return m_beginingBandwidth; }

int BandwidthChecker::GetCurrentMinBandwidth() { return m_currentMinBandwidth; }

int BandwidthChecker::GetCurrentAvgBandwidth() { return m_currentAvgBandwidth; }

int BandwidthChecker::GetVariationRateBandwidth() { return m_variationRateBandwidth; }

// Never written after construction: always 0.
int BandwidthChecker::GetDownloadPerHour() { return m_downloadPerHour; }

bool BandwidthChecker::Islowlatency() { return m_llsegbw; }

void BandwidthChecker::AddRxTimeInfo(unsigned int previousTime, unsigned int now, unsigned int size,
                                     int streamIdx, int segmentIdx, int tag) {
  // In low-latency mode a media chunk after a gap of 100 ms or more is a blocked playlist reload
  // or a part boundary, not throughput: it counts for nothing, not even for the byte total.
  if (m_llsegbw && now - previousTime > 99 && streamIdx >= 0) return;

  ScopedLock lock(m_lock);
  // Intended: the very first chunk of the object's life is dropped with its bytes.
  if (m_ignoreFirstEntry) {
    VAS_LOG_ERROR("Ignore first entry:");
    m_ignoreFirstEntry = false;
    return;
  }
  if (static_cast<long long>(previousTime) < m_rxFirstTime) m_rxFirstTime = previousTime;
  if (m_rxLastTime < static_cast<long long>(now)) m_rxLastTime = now;
  m_rxTotalBytes += size;
  // Asked also for a negative index; only a media stream's answer is used.
  void* streamInfo = m_dataHandler->GetStreamInfo(streamIdx);
  if (streamIdx >= 0 && streamInfo != nullptr) {
    // Extended precision, narrowed on the store. A declared rate of 0 gives infinity.
    long double seconds = static_cast<long double>(size) * 8.0L /
                          static_cast<long double>(DeclaredBitrate(streamInfo));
    m_latestTimeDuration = static_cast<float>(m_latestTimeDuration + seconds);
  }
}

void BandwidthChecker::ResetRxBaseTime(long long now) {
  ScopedLock lock(m_lock);
  m_rxFirstTime = INT64_MAX;
  m_rxLastTime = now;
  m_lastPushRxBytes = m_rxTotalBytes;
  m_lastPushTime = now;
}

bool BandwidthChecker::BlockIsDue(long long elapsed) const {
  const unsigned int interval = m_monitorInterval;
  if (elapsed > static_cast<long long>(interval)) return true;
  const unsigned long long newBytes = m_rxTotalBytes - m_lastPushRxBytes;
  const long long rxSpan = Sub64(m_rxLastTime, m_rxFirstTime);
  return newBytes > 524288 && rxSpan > static_cast<long long>(interval / 40);
}

void BandwidthChecker::OnPolling(long long now) {
  if (!m_monitoring) return;
  const long long elapsed = Sub64(now, m_lastPushTime);
  // The common idle call decides without the lock; the test is repeated under it.
  if (!BlockIsDue(elapsed)) return;

  ScopedLock lock(m_lock);
  if (!BlockIsDue(elapsed)) return;

  const unsigned int interval = m_monitorInterval;
  const unsigned long long totalBytes = m_rxTotalBytes;
  const int previous = m_currentBandwidth;
  const long long rxSpan = Sub64(m_rxLastTime, m_rxFirstTime);
  m_rxFirstTime = INT64_MAX;

  // An empty block has a hugely negative span and pushes nothing; a block too short to measure
  // neither, and its media seconds carry over to the next block.
  if (rxSpan != 0 && rxSpan >= static_cast<long long>(interval / 20)) {
    const unsigned long long bw =
        (totalBytes - m_lastPushRxBytes) * 8000ull / static_cast<unsigned long long>(rxSpan);
    VAS_LOG_DEBUG("[HLS_BW] Bandwidth : Push %d bps", width32::Signed32(bw));
    m_bwSamples[m_bwWriteIndex].bandwidth = width32::Signed32(bw);
    // Infinite media seconds (a declared rate of 0) give the indefinite integer.
    m_bwSamples[m_bwWriteIndex].duration = width32::TruncToInt32(m_latestTimeDuration);
    m_latestTimeDuration = 0.0f;
    m_bwWriteIndex = (m_bwWriteIndex + 1) % kSampleCount;
    if (m_bwCounter < kSampleCount) ++m_bwCounter;
  }

  // Newest sample first, until 10 seconds of media or five samples are summed.
  unsigned int slot = (m_bwWriteIndex + kSampleCount - 1) % kSampleCount;
  int latest_time_duation = 0;
  unsigned int latest_bandwith = 0;
  for (unsigned int bw_counter = 1; bw_counter <= m_bwCounter; ++bw_counter) {
    latest_time_duation = width32::Add(latest_time_duation, m_bwSamples[slot].duration);
    latest_bandwith += static_cast<unsigned int>(m_bwSamples[slot].bandwidth);
    if (latest_time_duation > 9 || bw_counter == kSampleCount) {
      const int current = static_cast<int>(latest_bandwith / bw_counter);
      m_currentBandwidth = current;
      m_currentMinBandwidth = current;
      m_currentAvgBandwidth = current;
      VAS_LOG_DEBUG(
          "[HLS_BW] current bandwith : %d, latest_bandwith : %d latest_time_duation : %d "
          "bw_counter : %d",
          current, static_cast<int>(latest_bandwith), latest_time_duation,
          static_cast<int>(bw_counter));
      break;
    }
    // Kept: below slot 0 the walk goes on at slot m_bwCounter - 1, not at the ring's last slot.
    slot = slot == 0 ? m_bwCounter - 1 : slot - 1;
  }

  m_lastPushRxBytes = totalBytes;
  m_lastPushTime = now;
  m_variationRateBandwidth = width32::Sub(m_currentBandwidth, previous);
}

unsigned long long BandwidthChecker::GetAverageBandwidth() {
  const unsigned long long elapsed = vas_getTime() - static_cast<unsigned long long>(m_startTime);
  if (elapsed == 0) return 0;
  return (m_rxTotalBytes - m_startRxBytes) * 8000ull / elapsed;
}

int BandwidthChecker::GetAverageBandwidthFromBlock() {
  unsigned int avg_bandwidth = 0;
  unsigned int bw_counter = m_bwCounter;
  for (unsigned int i = 0; i < m_bwCounter; ++i)
    avg_bandwidth += static_cast<unsigned int>(m_bwSamples[i].bandwidth);
  // Intended: the sum is logged, not the mean.
  VAS_LOG_ERROR("[HLS_BW] GetAverageBandwidthFromBlock avg_bandwidth = %d and  bw_counter = %d ",
                static_cast<int>(avg_bandwidth), static_cast<int>(bw_counter));
  if (m_bwCounter == 0) {
    // No sample yet: the open block stands in for one.
    const unsigned long long newBytes = m_rxTotalBytes - m_lastPushRxBytes;
    const long long rxSpan = Sub64(m_rxLastTime, m_rxFirstTime);
    if (newBytes != 0 && rxSpan != 0) {
      avg_bandwidth += width32::Low32(newBytes * 8000ull / static_cast<unsigned long long>(rxSpan));
      bw_counter = 1;
    }
  }
  VAS_LOG_ERROR(
      "2nd [HLS_BW] GetAverageBandwidthFromBlock avg_bandwidth = %d and  bw_counter = %d ",
      static_cast<int>(avg_bandwidth), static_cast<int>(bw_counter));
  if (bw_counter == 0) return 0;
  return static_cast<int>(avg_bandwidth) / static_cast<int>(bw_counter);
}

}  // namespace strmcommon

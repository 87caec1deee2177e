// An IBandwidthChecker whose answers the test sets, recording what the switcher tells it.
#pragma once

#include <string>
#include <vector>

#include "IBandwidthChecker.h"

namespace switchertest {

class StubBandwidthChecker : public strmcommon::IBandwidthChecker {
 public:
  int current = 0;
  int blockAverage = 0;
  int begining = 0;
  std::vector<std::string> calls;

  bool Start() override { return true; }
  bool Stop() override { return true; }
  bool IsMonitoring() override { return true; }
  void OnPolling(long long) override {}
  void Setllsegbw(bool llsegbw) override {
    calls.push_back(llsegbw ? "Setllsegbw(true)" : "Setllsegbw(false)");
  }
  void SetMonitorInterval(unsigned int interval) override {
    calls.push_back("SetMonitorInterval(" + std::to_string(interval) + ")");
  }
  unsigned int GetMonitorInterval() override { return 250; }
  int GetCurrentBandwidth() override { return current; }
  int GetBeginingBandwidth() override { return begining; }
  int GetCurrentMinBandwidth() override { return current; }
  int GetCurrentAvgBandwidth() override { return current; }
  unsigned long long GetAverageBandwidth() override { return 0; }
  int GetVariationRateBandwidth() override { return 0; }
  int GetAverageBandwidthFromBlock() override { return blockAverage; }
  int GetDownloadPerHour() override { return 0; }
  bool Islowlatency() override { return false; }
};

}  // namespace switchertest

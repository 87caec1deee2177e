// The test program's definition of strmengine::CHLSDataHandler::GetStreamInfo, answering from a
// table the test fills: stream index -> declared bit rate. Indices without an entry answer null.
#pragma once

#include <vector>

#include "CHLSDataHandler.h"

namespace testsupport {

class FakeStreamInfo {
 public:
  FakeStreamInfo();
  ~FakeStreamInfo();
  FakeStreamInfo(const FakeStreamInfo&) = delete;
  FakeStreamInfo& operator=(const FakeStreamInfo&) = delete;

  // Stream `index` declares `bitrate` bits per second.
  void SetBitrate(int index, unsigned int bitrate);
  void Remove(int index);
  // Every index the checker asked for, in order.
  const std::vector<int>& Calls() const;
  strmengine::CHLSDataHandler* Handler() { return &m_handler; }

 private:
  strmengine::CHLSDataHandler m_handler;
};

}  // namespace testsupport

#include "FakeStreamInfo.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <vector>

namespace {

// The engine's record: the third 32-bit word is the declared bit rate.
struct StreamRecord {
  uint32_t words[4];
};

std::map<int, StreamRecord>& Records() {
  static std::map<int, StreamRecord> records;
  return records;
}

std::vector<int>& CallLog() {
  static std::vector<int> calls;
  return calls;
}

// Several engines' workers may ask at once (the measurement tests run engines side by side).
std::mutex& TableLock() {
  static std::mutex lock;
  return lock;
}

}  // namespace

void* strmengine::CHLSDataHandler::GetStreamInfo(int index) {
  std::lock_guard<std::mutex> guard(TableLock());
  CallLog().push_back(index);
  auto it = Records().find(index);
  return it == Records().end() ? nullptr : it->second.words;
}

namespace testsupport {

FakeStreamInfo::FakeStreamInfo() {
  Records().clear();
  CallLog().clear();
}

FakeStreamInfo::~FakeStreamInfo() {
  Records().clear();
  CallLog().clear();
}

void FakeStreamInfo::SetBitrate(int index, unsigned int bitrate) {
  std::lock_guard<std::mutex> guard(TableLock());
  Records()[index] = StreamRecord{{0xdeadbeefu, 0xdeadbeefu, bitrate, 0xdeadbeefu}};
}

void FakeStreamInfo::Remove(int index) { Records().erase(index); }

const std::vector<int>& FakeStreamInfo::Calls() const { return CallLog(); }

}  // namespace testsupport

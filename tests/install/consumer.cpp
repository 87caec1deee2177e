// A program outside the tree that uses the installed library: it downloads files from a loopback
// HTTP server through Curl, GetCompleted and EndDownload, and compares them with the originals.
//
//   consumer <base url> <directory> <file>...
//
// Fetches <base url>/<file> for every file and compares it with <directory>/<file>.
#include <strmcommon/strmcommon.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using strmcommon::err_none;
using strmcommon::kBitrateUnknown;

namespace {

class Collector : public strmcommon::ICurlCB {
 public:
  int OnDownloadStart(strmcommon::UnitObject* unit) override {
    std::lock_guard<std::mutex> guard(m_lock);
    m_bodies[unit].clear();
    return 0;
  }
  int OnDownloadData(strmcommon::UnitObject* unit, int, unsigned char* data,
                     unsigned int size) override {
    std::lock_guard<std::mutex> guard(m_lock);
    m_bodies[unit].append(reinterpret_cast<char*>(data), size);
    return 0;
  }
  int OnRedirect(strmcommon::UnitObject*, const char*) override { return 0; }

  std::string Take(strmcommon::UnitObject* unit) {
    std::lock_guard<std::mutex> guard(m_lock);
    std::string body;
    body.swap(m_bodies[unit]);
    return body;
  }

 private:
  std::mutex m_lock;
  std::map<strmcommon::UnitObject*, std::string> m_bodies;
};

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) {
    std::fprintf(stderr, "usage: %s <base url> <directory> <file>...\n", argv[0]);
    return 2;
  }
  std::string base = argv[1];
  std::string dir = argv[2];

  Collector collector;
  strmcommon::Curl curl(strmcommon::CURL_THREAD_FIXED, 0, "");
  curl.Init(&collector, nullptr);
  if (!curl.StartLoop()) return 1;

  std::map<strmcommon::UnitObject*, std::string> names;
  for (int i = 3; i < argc; ++i) {
    strmcommon::UnitObject* unit = nullptr;
    strmcommon::UserData data{0, 0, i, kBitrateUnknown, 0, 0};
    curl.LockMutItem();
    int result =
        curl.BeginDownload(curl.GetRequestKey(), base + "/" + argv[i], false, unit, false, data);
    curl.UnlockMutItem();
    if (result != err_none || unit == nullptr) {
      std::fprintf(stderr, "begin %s: %d\n", argv[i], result);
      curl.Quit();
      return 1;
    }
    names[unit] = argv[i];
  }

  int failures = 0;
  auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(2);
  while (!names.empty()) {
    int code = -1;
    long date = 0;
    strmcommon::UnitObject* unit = curl.GetCompleted(code, date);
    if (unit == nullptr) {
      if (std::chrono::steady_clock::now() > deadline) {
        std::fprintf(stderr, "timed out\n");
        failures += static_cast<int>(names.size());
        break;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
      continue;
    }
    std::string name = names[unit];
    names.erase(unit);
    std::string body = collector.Take(unit);
    int ended = curl.EndDownload(unit);
    std::string expected = ReadFile(dir + "/" + name);
    bool same = code == err_none && ended == err_none && body == expected;
    std::printf("%-12s %9zu bytes  code %d  %s\n", name.c_str(), body.size(), code,
                same ? "identical" : "DIFFERENT");
    if (!same) ++failures;
  }
  curl.Quit();
  return failures == 0 ? 0 : 1;
}

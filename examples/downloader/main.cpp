// Downloads a set of files through the download engine from a loopback HTTP server started in
// this program, checks every byte, and prints per-file and total throughput.
//
//   downloader [file sizes in bytes...]
//
// Without arguments it fetches a fixed set of sizes from 64 KiB to 64 MiB, all at once.
#include <httplib.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "Curl.h"

using strmcommon::err_none;
using strmcommon::kBitrateUnknown;

namespace {

using Clock = std::chrono::steady_clock;

unsigned char ContentByte(size_t i) {
  return static_cast<unsigned char>((static_cast<uint32_t>(i) * 2654435761u) >> 24);
}

// Serves /file/<size>: <size> bytes of ContentByte.
class FileServer {
 public:
  FileServer() {
    m_server.new_task_queue = [] { return new httplib::ThreadPool(24); };
    m_server.Get(R"(/file/(\d+))", [](const httplib::Request& req, httplib::Response& res) {
      size_t size = std::stoull(req.matches[1].str());
      res.set_content_provider(size, "application/octet-stream",
                               [](size_t offset, size_t length, httplib::DataSink& sink) {
                                 std::vector<char> piece(std::min<size_t>(length, 256 * 1024));
                                 for (size_t i = 0; i < piece.size(); ++i)
                                   piece[i] = ContentByte(offset + i);
                                 return sink.write(piece.data(), piece.size());
                               });
    });
    m_port = m_server.bind_to_any_port("127.0.0.1");
    m_thread = std::thread([this] { m_server.listen_after_bind(); });
    while (!m_server.is_running()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  ~FileServer() {
    m_server.stop();
    m_thread.join();
  }
  std::string Url(size_t size) const {
    return "http://127.0.0.1:" + std::to_string(m_port) + "/file/" + std::to_string(size);
  }
  bool Ok() const { return m_port > 0; }

 private:
  httplib::Server m_server;
  int m_port = 0;
  std::thread m_thread;
};

// Receives body bytes on the engine's worker thread and checks them as they come.
class Receiver : public strmcommon::ICurlCB {
 public:
  int OnDownloadStart(strmcommon::UnitObject* unit) override {
    std::lock_guard<std::mutex> guard(m_lock);
    m_files[unit] = File();
    return 0;
  }
  int OnDownloadData(strmcommon::UnitObject* unit, int, unsigned char* data,
                     unsigned int size) override {
    std::lock_guard<std::mutex> guard(m_lock);
    File& file = m_files[unit];
    for (unsigned int i = 0; i < size; ++i) {
      if (data[i] != ContentByte(file.bytes + i)) file.intact = false;
    }
    file.bytes += size;
    return 0;
  }
  int OnRedirect(strmcommon::UnitObject*, const char*) override { return 0; }

  struct File {
    size_t bytes = 0;
    bool intact = true;
  };
  File Take(strmcommon::UnitObject* unit) {
    std::lock_guard<std::mutex> guard(m_lock);
    File file = m_files[unit];
    m_files.erase(unit);
    return file;
  }

 private:
  std::mutex m_lock;
  std::map<strmcommon::UnitObject*, File> m_files;
};

double Seconds(Clock::duration d) { return std::chrono::duration<double>(d).count(); }

}  // namespace

int main(int argc, char** argv) {
  std::vector<size_t> sizes;
  for (int i = 1; i < argc; ++i) sizes.push_back(std::strtoull(argv[i], nullptr, 10));
  if (sizes.empty()) {
    sizes = {64u << 10, 256u << 10, 1u << 20, 4u << 20, 16u << 20, 64u << 20};
  }
  if (sizes.size() > 20) {
    std::fprintf(stderr, "at most 20 files at once (the engine has 20 units)\n");
    return 2;
  }

  FileServer server;
  if (!server.Ok()) {
    std::fprintf(stderr, "could not start the loopback server\n");
    return 1;
  }

  Receiver receiver;
  strmcommon::Curl curl(strmcommon::CURL_THREAD_FIXED, 0, "");
  curl.Init(&receiver, nullptr);
  if (!curl.StartLoop()) {
    std::fprintf(stderr, "could not start the worker thread\n");
    return 1;
  }

  struct Request {
    size_t size;
    Clock::time_point begin;
  };
  std::map<strmcommon::UnitObject*, Request> running;
  Clock::time_point start = Clock::now();
  for (size_t size : sizes) {
    strmcommon::UnitObject* unit = nullptr;
    strmcommon::UserData data{0, 0, 0, kBitrateUnknown, 0, 0};
    curl.LockMutItem();
    int result =
        curl.BeginDownload(curl.GetRequestKey(), server.Url(size), false, unit, false, data);
    curl.UnlockMutItem();
    if (result != err_none || unit == nullptr) {
      std::fprintf(stderr, "begin failed for %zu bytes: %d\n", size, result);
      curl.Quit();
      return 1;
    }
    running[unit] = Request{size, Clock::now()};
  }

  bool allGood = true;
  size_t totalBytes = 0;
  Clock::time_point deadline = Clock::now() + std::chrono::minutes(5);
  while (!running.empty()) {
    int code = 0;
    long date = 0;
    strmcommon::UnitObject* unit = curl.GetCompleted(code, date);
    if (unit == nullptr) {
      if (Clock::now() > deadline) {
        std::fprintf(stderr, "timed out with %zu files outstanding\n", running.size());
        allGood = false;
        break;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
      continue;
    }
    Clock::time_point end = Clock::now();
    Request request = running[unit];
    running.erase(unit);
    Receiver::File file = receiver.Take(unit);
    curl.EndDownload(unit);
    bool good = code == err_none && file.bytes == request.size && file.intact;
    allGood = allGood && good;
    totalBytes += file.bytes;
    double seconds = Seconds(end - request.begin);
    std::printf("%10zu bytes  code %3d  %8.3f s  %9.1f MB/s  %s\n", file.bytes, code, seconds,
                seconds > 0 ? file.bytes / seconds / 1e6 : 0.0, good ? "ok" : "MISMATCH");
  }
  double total = Seconds(Clock::now() - start);
  std::printf("total %zu bytes in %.3f s: %.1f MB/s\n", totalBytes, total,
              total > 0 ? totalBytes / total / 1e6 : 0.0);
  curl.Quit();
  return allGood ? 0 : 1;
}

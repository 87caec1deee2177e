#include "StreamRoutes.h"

#include <httplib.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace testsupport {

namespace {

const char kBinary[] = "application/octet-stream";
// Chunks written per provider call, so that one socket read holds many of them.
constexpr size_t kChunkBatch = 64 * 1024;

size_t Number(const httplib::Request& req, int index) {
  return static_cast<size_t>(std::stoull(req.matches[index].str()));
}

size_t Param(const httplib::Request& req, const char* name, size_t fallback) {
  return req.has_param(name) ? static_cast<size_t>(std::stoull(req.get_param_value(name)))
                             : fallback;
}

void Fill(std::vector<char>& piece, size_t offset, size_t length) {
  piece.resize(length);
  for (size_t i = 0; i < length; ++i) piece[i] = static_cast<char>(ContentByte(offset + i));
}

// Writes chunks of `piece` bytes from `offset` on, about kChunkBatch bytes' worth; false when the
// sink failed. `sent` follows the bytes written.
bool WriteChunks(httplib::DataSink& sink, size_t& sent, size_t total, size_t piece) {
  std::vector<char> bytes;
  size_t batchEnd = std::min(total, sent + std::max(piece, kChunkBatch));
  while (sent < batchEnd) {
    size_t n = std::min(piece, batchEnd - sent);
    Fill(bytes, sent, n);
    if (!sink.write(bytes.data(), n)) return false;
    sent += n;
  }
  return true;
}

}  // namespace

void AddStreamRoutes(LoopbackServer& server) {
  server.Get(R"(/chunked/(\d+))", [](const httplib::Request& req, httplib::Response& res) {
    size_t total = Number(req, 1);
    size_t piece = std::max<size_t>(1, Param(req, "piece", 4096));
    auto sent = std::make_shared<size_t>(0);
    res.set_chunked_content_provider(kBinary, [=](size_t, httplib::DataSink& sink) {
      if (!WriteChunks(sink, *sent, total, piece)) return false;
      if (*sent >= total) sink.done();
      return true;
    });
  });

  server.Get(R"(/chunkdrop/(\d+))", [](const httplib::Request& req, httplib::Response& res) {
    size_t total = Number(req, 1);
    size_t piece = std::max<size_t>(1, Param(req, "piece", 4096));
    auto sent = std::make_shared<size_t>(0);
    res.set_chunked_content_provider(kBinary, [=](size_t, httplib::DataSink& sink) {
      // Returning false drops the connection before the last chunk.
      if (*sent >= total) return false;
      return WriteChunks(sink, *sent, total, piece);
    });
  });

  server.Get(R"(/paced/(\d+))", [](const httplib::Request& req, httplib::Response& res) {
    size_t total = Number(req, 1);
    size_t bps = std::max<size_t>(400, Param(req, "bps", 1000000));
    constexpr auto kInterval = std::chrono::milliseconds(20);
    size_t piece = std::max<size_t>(1, bps / 8 / 50);
    auto start = std::make_shared<std::chrono::steady_clock::time_point>();
    res.set_content_provider(total, kBinary,
                             [=](size_t offset, size_t length, httplib::DataSink& sink) {
                               if (offset == 0) *start = std::chrono::steady_clock::now();
                               // Piece k leaves at start + k intervals, whatever the earlier writes
                               // cost.
                               std::this_thread::sleep_until(*start + kInterval * (offset / piece));
                               std::vector<char> bytes;
                               Fill(bytes, offset, std::min(length, piece - offset % piece));
                               return sink.write(bytes.data(), bytes.size());
                             });
  });
}

}  // namespace testsupport

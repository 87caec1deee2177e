#include "SampleServer.h"

#include <httplib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace strmplay {

namespace fs = std::filesystem;

Link::Link(const RateSchedule& schedule, double timeScale)
    : m_schedule(schedule), m_timeScale(timeScale) {}

void Link::Start() {
  std::lock_guard<std::mutex> guard(m_lock);
  if (!m_started) {
    m_started = true;
    m_epoch = Clock::now();
    m_nextFree = m_epoch;
  }
}

double Link::ScheduleSeconds() const {
  std::lock_guard<std::mutex> guard(m_lock);
  if (!m_started) return 0.0;
  return std::chrono::duration<double>(Clock::now() - m_epoch).count() * m_timeScale;
}

int Link::RateNowKbps() const { return m_schedule.RateAt(ScheduleSeconds()); }

std::size_t Link::Transmit(std::size_t wanted) {
  Start();
  Clock::time_point done;
  std::size_t n;
  {
    std::lock_guard<std::mutex> guard(m_lock);
    const auto now = Clock::now();
    const double t = std::chrono::duration<double>(now - m_epoch).count() * m_timeScale;
    const double bitsPerSecond = m_schedule.RateAt(t) * 1000.0 * m_timeScale;
    if (bitsPerSecond <= 0.0) return std::min<std::size_t>(wanted, 65536);
    // Pieces of about 4 ms of link time: fine enough for a smooth rate, coarse enough to keep
    // the number of wake-ups low at high rates.
    const std::size_t piece =
        std::clamp<std::size_t>(static_cast<std::size_t>(bitsPerSecond / 8.0 * 0.004), 1024, 65536);
    n = std::min(wanted, piece);
    // An idle link does not bank credit.
    const auto start = std::max(now, m_nextFree);
    done = start + std::chrono::duration_cast<Clock::duration>(
                       std::chrono::duration<double>(n * 8.0 / bitsPerSecond));
    m_nextFree = done;
  }
  std::this_thread::sleep_until(done);
  return n;
}

SampleServer::SampleServer(const RateSchedule& schedule, double timeScale)
    : m_link(schedule, timeScale) {}

SampleServer::~SampleServer() { Stop(); }

bool SampleServer::Load(const std::string& dir, std::string& error) {
  std::error_code ec;
  if (!fs::is_directory(dir, ec)) {
    error = "no sample directory at " + dir;
    return false;
  }
  for (const auto& entry : fs::recursive_directory_iterator(dir, ec)) {
    if (!entry.is_regular_file()) continue;
    std::ifstream in(entry.path(), std::ios::binary);
    auto bytes = std::make_shared<std::vector<char>>(std::istreambuf_iterator<char>(in),
                                                     std::istreambuf_iterator<char>());
    m_files["/" + fs::relative(entry.path(), dir).generic_string()] = bytes;
  }
  if (m_files.find("/master.m3u8") == m_files.end()) {
    error = "no master.m3u8 in " + dir;
    return false;
  }
  return true;
}

std::string SampleServer::BaseUrl() const {
  return "http://127.0.0.1:" + std::to_string(m_port) + "/";
}

bool SampleServer::Start(std::string& error) {
  m_server = std::make_unique<httplib::Server>();
  m_server->Get(R"(/.*)", [this](const httplib::Request& req, httplib::Response& res) {
    ++m_requests;
    const auto it = m_files.find(req.path);
    if (it == m_files.end()) {
      res.status = 404;
      res.set_content("not found\n", "text/plain");
      return;
    }
    std::string type = "application/octet-stream";
    if (req.path.size() > 5 && req.path.compare(req.path.size() - 5, 5, ".m3u8") == 0) {
      type = "application/vnd.apple.mpegurl";
    } else if (req.path.size() > 3 && req.path.compare(req.path.size() - 3, 3, ".ts") == 0) {
      type = "video/mp2t";
    }
    if (req.path == "/master.m3u8") {
      // A cookie that counts the visits: it only comes back if the client kept it across runs.
      int visits = 0;
      const std::string cookie = req.get_header_value("Cookie");
      const auto pos = cookie.find("strmplay_visits=");
      if (pos != std::string::npos) visits = std::atoi(cookie.c_str() + pos + 16);
      m_cookieVisitsSeen = visits;
      res.set_header("Set-Cookie", "strmplay_visits=" + std::to_string(visits + 1) +
                                       "; Max-Age=31536000; Path=/");
    }
    auto body = it->second;
    res.set_content_provider(
        body->size(), type,
        [this, body](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
          const std::size_t n = m_link.Transmit(length);
          m_bytesServed += n;
          return sink.write(body->data() + offset, n);
        });
  });
  m_port = m_server->bind_to_any_port("127.0.0.1");
  if (m_port <= 0) {
    error = "cannot bind a port on 127.0.0.1";
    return false;
  }
  m_thread = std::thread([this] { m_server->listen_after_bind(); });
  return true;
}

void SampleServer::Stop() {
  if (m_server) m_server->stop();
  if (m_thread.joinable()) m_thread.join();
}

}  // namespace strmplay

// The built-in HTTP server on 127.0.0.1: serves a directory from memory through a link whose
// rate follows a RateSchedule. Time can run faster than the wall clock (time scale k): the
// schedule's seconds pass k times faster and every rate is k times higher, so a client whose
// playback model runs k times faster sees the same figures as in real time.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "RateSchedule.h"

namespace httplib {
class Server;
}

namespace strmplay {

// A shared link: bytes leave it no faster than the schedule allows.
class Link {
 public:
  Link(const RateSchedule& schedule, double timeScale);
  // Blocks until the next piece of at most `wanted` bytes has crossed the link; returns its size.
  std::size_t Transmit(std::size_t wanted);
  // Seconds of schedule time since the first byte was asked for (0 before that).
  double ScheduleSeconds() const;
  // The rate now, kbit/s of schedule time (0 for unlimited).
  int RateNowKbps() const;
  void Start();  // schedule time starts now, if it hasn't yet

 private:
  using Clock = std::chrono::steady_clock;
  const RateSchedule& m_schedule;
  const double m_timeScale;
  mutable std::mutex m_lock;
  bool m_started = false;
  Clock::time_point m_epoch;
  Clock::time_point m_nextFree;
};

class SampleServer {
 public:
  SampleServer(const RateSchedule& schedule, double timeScale);
  ~SampleServer();
  // Loads every file under dir into memory. False with a reason when the directory is unusable.
  bool Load(const std::string& dir, std::string& error);
  // Binds an ephemeral port on 127.0.0.1 and serves on a thread of its own.
  bool Start(std::string& error);
  void Stop();
  int Port() const { return m_port; }
  std::string BaseUrl() const;
  Link& GetLink() { return m_link; }
  std::uint64_t BytesServed() const { return m_bytesServed.load(); }
  int Requests() const { return m_requests.load(); }
  // The visit count that the server's cookie carried in this run (0: the client sent none).
  int CookieVisitsSeen() const { return m_cookieVisitsSeen.load(); }

 private:
  Link m_link;
  std::map<std::string, std::shared_ptr<const std::vector<char>>> m_files;  // "/v0/seg1.ts"
  std::unique_ptr<httplib::Server> m_server;
  std::thread m_thread;
  int m_port = 0;
  std::atomic<std::uint64_t> m_bytesServed{0};
  std::atomic<int> m_requests{0};
  std::atomic<int> m_cookieVisitsSeen{0};
};

}  // namespace strmplay

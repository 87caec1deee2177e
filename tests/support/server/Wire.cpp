#include "Wire.h"

#include <arpa/inet.h>
#include <httplib.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace testsupport {
namespace wire {

namespace {

bool WriteAll(int fd, const char* data, size_t size) {
  while (size > 0) {
    ssize_t n = send(fd, data, size, MSG_NOSIGNAL);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    data += n;
    size -= static_cast<size_t>(n);
  }
  return true;
}

bool ReadAll(int fd, char* data, size_t size) {
  while (size > 0) {
    ssize_t n = recv(fd, data, size, 0);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    data += n;
    size -= static_cast<size_t>(n);
  }
  return true;
}

void PutU32(std::string& out, uint32_t value) {
  for (int i = 0; i < 4; ++i) out.push_back(static_cast<char>((value >> (8 * i)) & 0xff));
}

void PutU64(std::string& out, uint64_t value) {
  PutU32(out, static_cast<uint32_t>(value));
  PutU32(out, static_cast<uint32_t>(value >> 32));
}

void PutText(std::string& out, const std::string& text) {
  PutU32(out, static_cast<uint32_t>(text.size()));
  out += text;
}

template <typename Map>
void PutPairs(std::string& out, const Map& pairs) {
  PutU32(out, static_cast<uint32_t>(pairs.size()));
  for (const auto& pair : pairs) {
    PutText(out, pair.first);
    PutText(out, pair.second);
  }
}

// Reads the encodings above back, failing once on any shortfall.
class Reader {
 public:
  explicit Reader(const std::string& in) : m_in(in) {}

  bool U32(uint32_t& value) {
    if (m_in.size() - m_at < 4) return false;
    value = 0;
    for (int i = 0; i < 4; ++i)
      value |= static_cast<uint32_t>(static_cast<unsigned char>(m_in[m_at + i])) << (8 * i);
    m_at += 4;
    return true;
  }
  bool Byte(unsigned char& value) {
    if (m_in.size() - m_at < 1) return false;
    value = static_cast<unsigned char>(m_in[m_at++]);
    return true;
  }
  bool U64(uint64_t& value) {
    uint32_t low = 0;
    uint32_t high = 0;
    if (!U32(low) || !U32(high)) return false;
    value = (static_cast<uint64_t>(high) << 32) | low;
    return true;
  }
  bool Text(std::string& text) {
    uint32_t size = 0;
    if (!U32(size) || m_in.size() - m_at < size) return false;
    text.assign(m_in, m_at, size);
    m_at += size;
    return true;
  }
  template <typename Map>
  bool Pairs(Map& pairs) {
    uint32_t count = 0;
    if (!U32(count)) return false;
    for (uint32_t i = 0; i < count; ++i) {
      std::string key;
      std::string value;
      if (!Text(key) || !Text(value)) return false;
      pairs.emplace(std::move(key), std::move(value));
    }
    return true;
  }
  bool AtEnd() const { return m_at == m_in.size(); }

 private:
  const std::string& m_in;
  size_t m_at = 0;
};

}  // namespace

bool SendFrame(int fd, FrameType type, const char* data, size_t size) {
  char header[5];
  header[0] = static_cast<char>(type);
  for (int i = 0; i < 4; ++i) header[1 + i] = static_cast<char>((size >> (8 * i)) & 0xff);
  return WriteAll(fd, header, sizeof(header)) && WriteAll(fd, data, size);
}

bool SendFrame(int fd, FrameType type, const std::string& payload) {
  return SendFrame(fd, type, payload.data(), payload.size());
}

bool ReceiveFrame(int fd, FrameType& type, std::string& payload) {
  char header[5];
  if (!ReadAll(fd, header, sizeof(header))) return false;
  type = static_cast<FrameType>(header[0]);
  uint32_t size = 0;
  for (int i = 0; i < 4; ++i)
    size |= static_cast<uint32_t>(static_cast<unsigned char>(header[1 + i])) << (8 * i);
  payload.resize(size);
  return ReadAll(fd, &payload[0], size);
}

std::string EncodeRequest(uint32_t routeId, const httplib::Request& req) {
  std::string out;
  PutU32(out, routeId);
  PutText(out, req.method);
  PutText(out, req.version);
  PutText(out, req.target);
  PutText(out, req.path);
  PutText(out, req.body);
  PutText(out, req.remote_addr);
  PutU32(out, static_cast<uint32_t>(req.remote_port));
  PutPairs(out, req.headers);
  PutPairs(out, req.params);
  return out;
}

bool DecodeRequest(const std::string& payload, uint32_t& routeId, httplib::Request& req) {
  Reader in(payload);
  uint32_t remotePort = 0;
  bool ok = in.U32(routeId) && in.Text(req.method) && in.Text(req.version) && in.Text(req.target) &&
            in.Text(req.path) && in.Text(req.body) && in.Text(req.remote_addr) &&
            in.U32(remotePort) && in.Pairs(req.headers) && in.Pairs(req.params) && in.AtEnd();
  req.remote_port = static_cast<int>(remotePort);
  return ok;
}

std::string EncodeHead(const httplib::Response& res, BodyKind kind) {
  std::string out;
  PutU32(out, static_cast<uint32_t>(res.status));
  out.push_back(static_cast<char>(kind));
  PutU64(out, res.content_length_);
  PutPairs(out, res.headers);
  PutText(out, res.body);
  return out;
}

bool DecodeHead(const std::string& payload, httplib::Response& res, BodyKind& kind) {
  Reader in(payload);
  uint32_t status = 0;
  unsigned char kindByte = 0;
  uint64_t length = 0;
  bool ok = in.U32(status) && in.Byte(kindByte) && in.U64(length) && in.Pairs(res.headers) &&
            in.Text(res.body) && in.AtEnd();
  res.status = static_cast<int>(status);
  kind = static_cast<BodyKind>(kindByte);
  res.content_length_ = static_cast<size_t>(length);
  return ok;
}

int ConnectLoopback(int port) {
  int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return -1;
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_port = htons(static_cast<uint16_t>(port));
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof(addr)) != 0) {
    close(fd);
    return -1;
  }
  int one = 1;
  setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof(one));
  return fd;
}

}  // namespace wire
}  // namespace testsupport

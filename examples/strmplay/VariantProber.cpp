#include "VariantProber.h"

#include <algorithm>

namespace strmplay {

VariantProber::VariantProber(Fetcher& fetcher, SegmentDecryptor& decryptor)
    : m_fetcher(fetcher), m_decryptor(decryptor) {}

bool VariantProber::Probe(const std::string& playlistUrl, const Segment& segment,
                          ProbeResult& result, std::size_t& bytes, std::string& error) {
  FetchRequest request;
  request.url = ResolveUri(playlistUrl, segment.uri);
  request.kind = TransferKind::kProbe;
  request.segment = 0;
  request.stream = -1;  // not for the bandwidth checker
  const auto probeBytes = static_cast<long long>(kProbeBytes);
  request.rangeOffset = segment.rangeLength >= 0 ? segment.rangeOffset : 0;
  request.rangeLength =
      segment.rangeLength >= 0 ? std::min(segment.rangeLength, probeBytes) : probeBytes;
  request.maxBytes = kProbeBytes;
  request.prefixOnly = true;
  FetchResult fetched = m_fetcher.Fetch(request);
  bytes = fetched.body.size();
  if (!fetched.Ok()) {
    error = DescribeAttempt(fetched.Last());
    return false;
  }
  if (!m_decryptor.Decrypt(playlistUrl, segment, true, fetched.body, error)) return false;
  TsProbe probe;
  result = probe.Probe(fetched.body);
  return true;
}

}  // namespace strmplay

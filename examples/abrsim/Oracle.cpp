#include "Oracle.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace abrsim {

namespace {

struct State {
  double score;   // QoE so far
  double now;     // when the last segment was in
  double buffer;  // seconds buffered then
  int parent;     // index of the state before, in the previous segment's list
  int variant;
};

// The slot of `buffer` seconds for variant 0; variant v's is v x buckets further.
size_t BucketOf(double buffer, double perStep, int buckets) {
  return static_cast<size_t>(std::min(buckets - 1, static_cast<int>(buffer * perStep + 1e-9)));
}

}  // namespace

OracleResult Oracle(const Setup& setup, const Link& link, double bufferStep) {
  OracleResult result;
  const int variants = static_cast<int>(setup.ladderKbps.size());
  const int buckets = static_cast<int>(std::ceil(setup.maxBufferSeconds / bufferStep)) + 2;
  const double room = setup.maxBufferSeconds - setup.segmentSeconds;
  const double perStep = 1 / bufferStep;
  std::vector<double> bytes;
  for (int kbps : setup.ladderKbps) bytes.push_back(SegmentBytes(setup, kbps));
  std::vector<double> ends(variants);

  // layers[k] holds the states after segment k; slot maps (variant, bucket) to a state of the
  // layer being built.
  std::vector<std::vector<State>> layers(setup.segments);
  std::vector<int> slot(static_cast<size_t>(variants) * buckets, -1);
  auto offer = [&](std::vector<State>& layer, const State& s) {
    int& at = slot[static_cast<size_t>(s.variant) * buckets + BucketOf(s.buffer, perStep, buckets)];
    if (at < 0) {
      at = static_cast<int>(layer.size());
      layer.push_back(s);
    } else if (s.score > layer[at].score || (s.score == layer[at].score && s.now < layer[at].now)) {
      layer[at] = s;
    }
  };

  // The first segment: its whole download is the start-up wait.
  link.Finish(link.RoundTrip(), bytes.data(), variants, ends.data());
  for (int v = 0; v < variants; ++v) {
    const double took = ends[v];
    offer(layers[0],
          State{SegmentQoe(setup.ladderKbps[v], -1, took), ends[v], setup.segmentSeconds, -1, v});
  }
  // A session with the same buffer step that is no later and ahead by more than the cost of
  // changing to the other's variant does at least as well whatever follows, since a change from
  // it to any variant costs at most that much more: the other is dropped.
  auto prune = [&](std::vector<State>& layer) {
    std::vector<State> kept;
    kept.reserve(layer.size());
    for (const State& s : layer) {
      const int* bucket = &slot[BucketOf(s.buffer, perStep, buckets)];
      bool dominated = false;
      for (int w = 0; w < variants && !dominated; ++w) {
        const int other = bucket[static_cast<size_t>(w) * buckets];
        if (w == s.variant || other < 0) continue;
        const State& o = layer[other];
        const double change = std::abs(setup.ladderKbps[w] - setup.ladderKbps[s.variant]) / 1000.0;
        dominated = o.now <= s.now && o.score - change >= s.score &&
                    (o.score - change > s.score || o.now < s.now || w < s.variant);
      }
      if (!dominated) kept.push_back(s);
    }
    layer.swap(kept);
  };
  prune(layers[0]);

  for (int k = 1; k < setup.segments; ++k) {
    std::fill(slot.begin(), slot.end(), -1);
    const std::vector<State>& previous = layers[k - 1];
    result.states += static_cast<long long>(previous.size());
    for (int p = 0; p < static_cast<int>(previous.size()); ++p) {
      const State& from = previous[p];
      double now = from.now;
      double buffer = from.buffer;
      if (buffer > room) {
        now += buffer - room;
        buffer = room;
      }
      link.Finish(now + link.RoundTrip(), bytes.data(), variants, ends.data());
      for (int v = 0; v < variants; ++v) {
        const double took = ends[v] - now;
        const double stall = std::max(0.0, took - buffer);
        const double score =
            from.score + SegmentQoe(setup.ladderKbps[v], setup.ladderKbps[from.variant], stall);
        offer(layers[k],
              State{score, ends[v], std::max(0.0, buffer - took) + setup.segmentSeconds, p, v});
      }
    }
    prune(layers[k]);
  }
  const std::vector<State>& last = layers.back();
  result.states += static_cast<long long>(last.size());
  int best = 0;
  for (int i = 1; i < static_cast<int>(last.size()); ++i)
    if (last[i].score > last[best].score) best = i;
  result.variants.assign(setup.segments, 0);
  for (int k = setup.segments - 1, at = best; k >= 0; --k) {
    result.variants[k] = layers[k][at].variant;
    at = layers[k][at].parent;
  }
  FixedRule replay(result.variants);
  result.session = Play(setup, link, replay);
  return result;
}

}  // namespace abrsim

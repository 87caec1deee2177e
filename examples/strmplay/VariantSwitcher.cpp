#include "VariantSwitcher.h"

#include <cmath>

// The one call the bandwidth checker makes into the playback engine: the record of a stream.
void* strmengine::CHLSDataHandler::GetStreamInfo(int index) {
  auto* table = static_cast<strmplay::StreamTable*>(this);
  if (index < 0 || index >= static_cast<int>(table->records.size())) return nullptr;
  return &table->records[static_cast<std::size_t>(index)];
}

namespace strmplay {

VariantSwitcher::VariantSwitcher(strmcommon::IBandwidthChecker& checker, double timeScale)
    : m_timeScale(timeScale) {
  m_switcher.Init(&checker);
}

bool VariantSwitcher::SetLadder(const std::vector<Variant>& ladder) {
  std::vector<strmcommon::_VariantData> table;
  m_table.records.clear();
  for (std::size_t i = 0; i < ladder.size(); ++i) {
    const Variant& v = ladder[i];
    m_table.records.push_back({static_cast<std::uint32_t>(i), static_cast<std::uint32_t>(v.width),
                               static_cast<std::uint32_t>(v.bandwidth),
                               static_cast<std::uint32_t>(v.height)});
    table.push_back(
        {static_cast<int>(std::lround(v.bandwidth * m_timeScale)), v.width, v.height, 0});
  }
  m_variants = static_cast<int>(ladder.size());
  return m_switcher.ResetData(table, false) == 0;
}

int VariantSwitcher::Decide(int current, double bufferSeconds) {
  const auto bufferMs = static_cast<unsigned int>(bufferSeconds * 1000.0);
  m_switcher.ProcessAdaptiveSegLevel(0, bufferMs, false);
  const int next = m_switcher.ProcessAdaptiveSeg(current, bufferMs);
  if (next < 0 || next >= m_variants) return current;
  return next;
}

}  // namespace strmplay

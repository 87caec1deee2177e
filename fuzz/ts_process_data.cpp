// A script of updates and lookups on the per-PID table, checked after every step against a model
// table of 100 entries kept here: slot ((pid16 >> 6) ^ pid) & 0x3F, probing toward the end without
// wrapping, lookups that walk past free entries, a free key reading as -1, records claimed with
// the low 16 bits of the PID. The PIDs come from real PID values, any 16-bit or any 32-bit
// value, and -1, which finds the first free entry.
#include <fuzzer/FuzzedDataProvider.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "FuzzCheck.h"
#include "PacketProcessor.h"

namespace {

using strmcommon::EsInfo;
using strmcommon::StreamType;
using strmcommon::TsProcessData;

struct ModelEntry {
  uint16_t key = 0xFFFF;
  uint16_t pid = 0xFFFF;
  int16_t pidOrg = -1;
  int16_t counter = -1;
  int32_t type = 0;
  bool hasPcr = false;
};

class Model {
 public:
  // The entry a lookup of pid gives, or -1.
  int Find(int pid) const {
    for (int i = Slot(pid); i < kSize; ++i) {
      if (static_cast<int16_t>(m_table[i].key) == pid) return i;
    }
    return -1;
  }
  // Claims the first free entry from the slot on; -1 when none is left there.
  int Claim(int pid) {
    for (int i = Slot(pid); i < kSize; ++i) {
      if (m_table[i].key == 0xFFFF) {
        m_table[i].key = static_cast<uint16_t>(pid);
        return i;
      }
    }
    return -1;
  }
  void Update(int pid, int32_t type, bool hasPcr) {
    int i = Find(pid);
    const bool known = i >= 0;
    if (!known) i = Claim(pid);
    if (i < 0) return;
    ModelEntry& e = m_table[i];
    if (!known || e.pidOrg < 0) e.pidOrg = static_cast<int16_t>(pid);
    e.pid = static_cast<uint16_t>(pid);
    e.type = type;
    e.hasPcr = hasPcr;
  }
  void SetPmt(int pid, uint16_t& pmtPid) {
    if (Find(pid) >= 0) return;
    pmtPid = static_cast<uint16_t>(pid);
    const int i = Claim(pid);
    if (i < 0) return;
    m_table[i].pid = pmtPid;
    m_table[i].pidOrg = static_cast<int16_t>(pmtPid);
  }
  const ModelEntry* Get(int pid) const {
    const int i = Find(pid);
    return i < 0 ? nullptr : &m_table[i];
  }
  ModelEntry* Get(int pid) {
    const int i = Find(pid);
    return i < 0 ? nullptr : &m_table[i];
  }
  ModelEntry& At(int i) { return m_table[i]; }

  uint16_t pmtPid = 0xFFFF;
  uint16_t audioPmtPid = 0xFFFF;
  uint16_t videoPid = 0xFFFF;
  uint16_t audioPid = 0xFFFF;

 private:
  static constexpr int kSize = 100;
  static int Slot(int pid) { return ((static_cast<int16_t>(pid) >> 6) ^ pid) & 0x3F; }
  std::array<ModelEntry, kSize> m_table;
};

int Pid(FuzzedDataProvider& in) {
  switch (in.ConsumeIntegralInRange(0, 7)) {
    case 0:
      return in.ConsumeIntegral<int16_t>();
    case 1:
      return in.ConsumeIntegral<int>();
    case 2:
      return -1;
    default:
      return in.ConsumeIntegralInRange(0, 0x1FFF);
  }
}

StreamType Type(FuzzedDataProvider& in) {
  // Mostly the four named types; any 32-bit value is a StreamType too.
  if (in.ConsumeIntegralInRange(0, 15) == 0)
    return static_cast<StreamType>(in.ConsumeIntegral<int32_t>());
  return static_cast<StreamType>(in.ConsumeIntegralInRange(0, 3));
}

void CheckRecord(const EsInfo* got, const ModelEntry* want) {
  FUZZ_CHECK((got == nullptr) == (want == nullptr));
  if (got == nullptr) return;
  FUZZ_CHECK(got->pid == want->pid);
  FUZZ_CHECK(got->pidOrg == want->pidOrg);
  FUZZ_CHECK(got->counter == want->counter);
  FUZZ_CHECK(got->type == want->type);
  FUZZ_CHECK(got->hasPcr == want->hasPcr);
}

void CheckQueries(TsProcessData& table, const Model& model, int pid) {
  const ModelEntry* e = model.Get(pid);
  CheckRecord(table.GetEsInfo(pid), e);
  FUZZ_CHECK(table.GetEsCounter(pid) == (e ? e->counter : -1));
  FUZZ_CHECK(table.GetPidOrg(pid) == (e ? e->pidOrg : pid));
  FUZZ_CHECK(table.IsElementary(pid) == (e && e->type != 0));
  FUZZ_CHECK(table.IsVideo(pid) == (e && e->type == 2));
  FUZZ_CHECK(table.IsAudio(pid) == (e && e->type == 3));
  FUZZ_CHECK(table.HasPcr(pid) == (e && e->hasPcr));
  FUZZ_CHECK(table.m_pmtPid == model.pmtPid);
  FUZZ_CHECK(table.m_audioPmtPid == model.audioPmtPid);
  FUZZ_CHECK(table.m_videoPid == model.videoPid);
  FUZZ_CHECK(table.m_audioPid == model.audioPid);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider in(data, size);
  TsProcessData table;
  Model model;
  std::vector<int> seen = {-1};

  for (int step = 0; step < 256 && in.remaining_bytes() > 0; ++step) {
    const int op = in.ConsumeIntegralInRange(0, 6);
    const int pid = Pid(in);
    seen.push_back(pid);
    switch (op) {
      case 0: {
        const StreamType type = Type(in);
        const bool hasPcr = in.ConsumeBool();
        table.UpdateEsInfo(pid, type, hasPcr);
        model.Update(pid, type, hasPcr);
        if (type == strmcommon::kStreamVideo) model.videoPid = static_cast<uint16_t>(pid);
        break;
      }
      case 1: {
        const StreamType kind = Type(in);
        const StreamType type = Type(in);
        const bool hasPcr = in.ConsumeBool();
        table.UpdateEsInfo(pid, kind, type, hasPcr);
        model.Update(pid, type, hasPcr);
        if (kind == 1 && type == 2) {
          model.videoPid = static_cast<uint16_t>(pid);
        } else if (kind == 3 && type == 3) {
          model.audioPid = static_cast<uint16_t>(pid);
        }
        break;
      }
      case 2:
        table.SetPmtInfo(pid);
        model.SetPmt(pid, model.pmtPid);
        break;
      case 3:
        table.SetAudioPmtInfo(pid);
        model.SetPmt(pid, model.audioPmtPid);
        break;
      case 4: {
        const int count = in.ConsumeIntegral<int>();
        table.SetEsCount(pid, count);
        if (ModelEntry* e = model.Get(pid)) e->counter = static_cast<int16_t>(count);
        break;
      }
      case 5: {
        // A claim writes only the key; the caller fills the record, here with input values.
        EsInfo* got = table.PutEsInfo(pid);
        const int i = model.Claim(pid);
        FUZZ_CHECK((got == nullptr) == (i < 0));
        if (got == nullptr) break;
        ModelEntry& e = model.At(i);
        CheckRecord(got, &e);
        if (in.ConsumeBool()) {
          got->pid = e.pid = in.ConsumeIntegral<uint16_t>();
          got->pidOrg = e.pidOrg = in.ConsumeIntegral<int16_t>();
          got->counter = e.counter = in.ConsumeIntegral<int16_t>();
          got->type = Type(in);
          e.type = got->type;
          got->hasPcr = e.hasPcr = in.ConsumeBool();
        }
        break;
      }
      default:
        break;
    }
    CheckQueries(table, model, pid);
  }
  for (int pid : seen) CheckQueries(table, model, pid);
  return 0;
}

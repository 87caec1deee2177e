// Builds an object of the engine's declared type inside a buffer that is larger than the
// declaration and filled with a pattern, so that a test can see whether the library's constructor
// and destructor stay within the engine's sizeof.
#pragma once

#include <cstddef>
#include <cstring>
#include <new>
#include <utility>

namespace abi_probe {

template <typename T>
class Patterned {
 public:
  static constexpr unsigned char kFill = 0xA5;
  static constexpr size_t kSlack = 256;

  template <typename... Args>
  explicit Patterned(Args&&... args) {
    std::memset(m_bytes, kFill, sizeof(m_bytes));
    m_object = new (m_bytes) T(std::forward<Args>(args)...);
  }
  ~Patterned() {
    if (m_object != nullptr) m_object->~T();
  }
  Patterned(const Patterned&) = delete;
  Patterned& operator=(const Patterned&) = delete;

  T* get() { return m_object; }
  T* operator->() { return m_object; }
  T& operator*() { return *m_object; }

  // Runs the destructor now, so that its writes can be checked as well.
  void Destroy() {
    m_object->~T();
    m_object = nullptr;
  }

  // True while nothing has been written past sizeof(T).
  bool TailUntouched() const {
    for (size_t i = sizeof(T); i < sizeof(m_bytes); ++i) {
      if (m_bytes[i] != kFill) return false;
    }
    return true;
  }

 private:
  alignas(std::max_align_t) unsigned char m_bytes[sizeof(T) + kSlack];
  T* m_object = nullptr;
};

}  // namespace abi_probe

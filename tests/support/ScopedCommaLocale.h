// Switches the process to a locale whose decimal separator is a comma (C and C++ global locale)
// for the lifetime of an instance, and restores "C" afterwards.
#pragma once

#include <clocale>
#include <locale>
#include <stdexcept>
#include <string>

namespace testsupport {

class ScopedCommaLocale {
 public:
  ScopedCommaLocale() {
    static const char* const kCandidates[] = {"de_DE.UTF-8", "de_DE.utf8", "de_DE", "fr_FR.UTF-8"};
    for (const char* name : kCandidates) {
      if (std::setlocale(LC_ALL, name) == nullptr) continue;
      const std::lconv* conv = std::localeconv();
      if (conv != nullptr && std::string(conv->decimal_point) == ",") {
        name_ = name;
        try {
          previous_ = std::locale::global(std::locale(name));
          globalSet_ = true;
        } catch (const std::runtime_error&) {
          // The C locale alone is switched; the C++ global locale stays "C".
        }
        return;
      }
      std::setlocale(LC_ALL, "C");
    }
  }
  ~ScopedCommaLocale() {
    if (globalSet_) std::locale::global(previous_);
    std::setlocale(LC_ALL, "C");
  }
  ScopedCommaLocale(const ScopedCommaLocale&) = delete;
  ScopedCommaLocale& operator=(const ScopedCommaLocale&) = delete;

  // False when no comma-decimal locale is installed; the caller skips then.
  bool Active() const { return !name_.empty(); }
  const std::string& Name() const { return name_; }

 private:
  std::string name_;
  std::locale previous_;
  bool globalSet_ = false;
};

}  // namespace testsupport

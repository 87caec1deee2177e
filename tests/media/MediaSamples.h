// Sample streams under tests/data/media and ffprobe's record of them (scripts/make-media-testdata).
#pragma once

#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

namespace mediatest {

inline std::string SamplePath(const std::string& name) {
  return std::string(STRMCOMMON_TEST_DATA_DIR) + "/media/" + name;
}

inline std::vector<unsigned char> ReadSample(const std::string& name) {
  std::ifstream in(SamplePath(name), std::ios::binary);
  return std::vector<unsigned char>(std::istreambuf_iterator<char>(in),
                                    std::istreambuf_iterator<char>());
}

// The key=value lines of <name>.ffprobe, surrounding quotes removed.
inline std::map<std::string, std::string> ReadProbe(const std::string& name) {
  std::map<std::string, std::string> values;
  std::ifstream in(SamplePath(name + ".ffprobe"));
  std::string line;
  while (std::getline(in, line)) {
    auto eq = line.find('=');
    if (eq == std::string::npos) continue;
    std::string value = line.substr(eq + 1);
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
      value = value.substr(1, value.size() - 2);
    }
    values[line.substr(0, eq)] = value;
  }
  return values;
}

}  // namespace mediatest

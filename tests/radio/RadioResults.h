#pragma once

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

// What the radio test's guest brought back: one directory, named by MDX_RADIO_RESULTS.
namespace radio {

inline std::string resultsDir() {
  const char* dir = std::getenv("MDX_RADIO_RESULTS");
  return dir != nullptr ? dir : "";
}

// The whole file; an empty text (and a test failure) when it is missing.
inline std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in.good()) << "missing " << path;
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

inline std::string readResult(const std::string& name) {
  return readFile(resultsDir() + "/" + name);
}

inline std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> out;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) out.push_back(line);
  return out;
}

}  // namespace radio

#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <string>

// Files of cases: each case is "== title" and the lines below it but empty ones. OWN and PEER stand there for the
// identifiers of two controllers.

constexpr const char* own = "VR001_00001_0000000000A1";
constexpr const char* peer = "VR002_00002_0000000000B2";

inline std::string spelledOut(std::string text) {
  for (const auto& [name, fid] : {std::pair("OWN", own), std::pair("PEER", peer)}) {
    for (std::size_t at = 0; (at = text.find(name, at)) != std::string::npos;) text.replace(at, strlen(name), fid);
  }
  return text;
}

/// The cases of a file by their titles.
inline std::map<std::string, std::string> sections(const std::string& path) {
  std::ifstream in(path);
  std::map<std::string, std::string> all;
  std::string* section = nullptr;
  for (std::string line; std::getline(in, line);) {
    if (line.rfind("== ", 0) == 0) {
      section = &all[line.substr(3)];
      EXPECT_EQ(*section, "") << "again: " << line;
    } else if (!line.empty()) {
      *section += spelledOut(line) + "\n";
    }
  }
  EXPECT_FALSE(all.empty()) << path;
  return all;
}

/// For cases whose first line goes in, and whose other lines must come out.
inline void expectOutcomes(const std::string& path,
                           const std::function<std::string(const std::string& title, const std::string& in)>& outcome) {
  for (const auto& [title, section] : sections(path)) {
    const std::size_t end = section.find('\n');
    EXPECT_EQ(outcome(title, section.substr(0, end)), section.substr(end + 1)) << title;
  }
}

/// For cases that end with a line that names the fault of the text above it.
inline void expectFaults(const std::string& path, const std::function<std::string(const std::string& text)>& faultOf) {
  for (const auto& [title, section] : sections(path)) {
    const std::size_t end = section.rfind('\n', section.size() - 2);
    EXPECT_EQ(faultOf(section.substr(0, end)) + "\n", section.substr(end + 1)) << title;
  }
}

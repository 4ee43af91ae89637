#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// Builds a zip archive of uncompressed entries in memory, by chained calls.
class CStoredZip {
 public:
  /// Adds an entry; the name's bytes are what a reader sees. A wrong checksum makes the entry
  /// unreadable.
  CStoredZip& Add(const std::string& name, const std::string& bytes, bool wrongChecksum = false);

  /// The archive so far.
  std::string Bytes() const;

 private:
  struct CEntry {
    std::string name;
    std::uint32_t checksum;
    std::uint32_t size;
    std::uint32_t offset;
  };

  std::string m_files;
  std::vector<CEntry> m_entries;
};

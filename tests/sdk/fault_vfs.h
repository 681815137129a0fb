#pragma once

// Stands between SQLite and the file system: lets one access to a file fail, or all from one on, and knows which files
// have bytes that were written and not brought to the disk.

#include <sqlite3.h>

#include <map>
#include <string>

namespace kyv_test {

// While it lives, connections that are opened use it. One at a time, in one thread.
class FaultVfs {
 public:
  FaultVfs();
  ~FaultVfs();
  FaultVfs(const FaultVfs&) = delete;
  FaultVfs& operator=(const FaultVfs&) = delete;

  // Lets the access of this number fail, counted from 1 from now on; 0: none. `ever`: all from there on.
  void failAt(long number, bool ever);
  // Whether one has failed since then.
  bool hasFailed() const { return failed_; }
  // Whether a file whose name ends so has bytes that a loss of power may take.
  bool isUnsynced(const std::string& end) const;

 private:
  static FaultVfs* current_;
  static int open(sqlite3_vfs*, sqlite3_filename name, sqlite3_file* file, int flags, int* outFlags);
  static int remove(sqlite3_vfs*, const char* name, int syncFolder);
  static int close(sqlite3_file* file);
  static int read(sqlite3_file* file, void* bytes, int size, sqlite3_int64 offset);
  static int write(sqlite3_file* file, const void* bytes, int size, sqlite3_int64 offset);
  static int truncate(sqlite3_file* file, sqlite3_int64 size);
  static int sync(sqlite3_file* file, int flags);
  static int fileSize(sqlite3_file* file, sqlite3_int64* size);
  static int shmMap(sqlite3_file* file, int page, int size, int extend, void volatile** bytes);
  struct File {
    std::string name;
    const sqlite3_io_methods* real;
  };
  static const sqlite3_io_methods& real(sqlite3_file* file);
  static bool fails();

  sqlite3_vfs* const real_;
  sqlite3_vfs vfs_;
  std::map<const sqlite3_io_methods*, sqlite3_io_methods> methods_;  // ours, by the real ones
  std::map<sqlite3_file*, File> files_;                              // that are open
  std::map<std::string, bool> unsynced_;                             // by name
  long left_ = 0;
  bool ever_ = false;
  bool failed_ = false;
};

}  // namespace kyv_test

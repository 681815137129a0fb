#include "tests/sdk/fault_vfs.h"

#include <algorithm>

namespace kyv_test {

FaultVfs* FaultVfs::current_ = nullptr;

// A copy of the system's, so that only what can fail is written here; its files are the system's with other methods.
FaultVfs::FaultVfs() : real_(sqlite3_vfs_find(nullptr)), vfs_(*real_) {
  current_ = this;
  vfs_.zName = "faults";
  vfs_.xOpen = open;
  vfs_.xDelete = remove;
  sqlite3_vfs_register(&vfs_, 1);
}

FaultVfs::~FaultVfs() {
  sqlite3_vfs_unregister(&vfs_);
  sqlite3_vfs_register(real_, 1);
  current_ = nullptr;
}

void FaultVfs::failAt(long number, bool ever) {
  left_ = number;
  ever_ = ever;
  failed_ = false;
}

bool FaultVfs::isUnsynced(const std::string& end) const {
  return std::any_of(unsynced_.begin(), unsynced_.end(),
                     [&](const auto& file) { return file.second && file.first.ends_with(end); });
}

bool FaultVfs::fails() {
  if (current_->left_ == 0 || --current_->left_ != 0) return false;
  if (current_->ever_) current_->left_ = 1;
  current_->failed_ = true;
  return true;
}

const sqlite3_io_methods& FaultVfs::real(sqlite3_file* file) { return *current_->files_.at(file).real; }

int FaultVfs::open(sqlite3_vfs*, sqlite3_filename name, sqlite3_file* file, int flags, int* outFlags) {
  file->pMethods = nullptr;
  if (fails()) return SQLITE_CANTOPEN;
  const int result = current_->real_->xOpen(current_->real_, name, file, flags, outFlags);
  if (file->pMethods == nullptr) return result;
  current_->files_[file] = {name != nullptr ? name : "", file->pMethods};
  sqlite3_io_methods& methods = current_->methods_[file->pMethods];
  methods = *file->pMethods;
  methods.xClose = close;
  methods.xRead = read;
  methods.xWrite = write;
  methods.xTruncate = truncate;
  methods.xSync = sync;
  methods.xFileSize = fileSize;
  methods.xShmMap = shmMap;
  file->pMethods = &methods;
  return result;
}

int FaultVfs::remove(sqlite3_vfs*, const char* name, int syncFolder) {
  if (fails()) return SQLITE_IOERR_DELETE;
  current_->unsynced_.erase(name);
  return current_->real_->xDelete(current_->real_, name, syncFolder);
}

int FaultVfs::close(sqlite3_file* file) {
  const sqlite3_io_methods& methods = real(file);
  current_->files_.erase(file);
  return methods.xClose(file);
}

int FaultVfs::read(sqlite3_file* file, void* bytes, int size, sqlite3_int64 offset) {
  return fails() ? SQLITE_IOERR_READ : real(file).xRead(file, bytes, size, offset);
}

// Half of the bytes get there.
int FaultVfs::write(sqlite3_file* file, const void* bytes, int size, sqlite3_int64 offset) {
  current_->unsynced_[current_->files_.at(file).name] = true;
  if (!fails()) return real(file).xWrite(file, bytes, size, offset);
  (void)real(file).xWrite(file, bytes, size / 2, offset);
  return SQLITE_FULL;
}

int FaultVfs::truncate(sqlite3_file* file, sqlite3_int64 size) {
  return fails() ? SQLITE_IOERR_TRUNCATE : real(file).xTruncate(file, size);
}

int FaultVfs::sync(sqlite3_file* file, int flags) {
  if (fails()) return SQLITE_IOERR_FSYNC;
  current_->unsynced_[current_->files_.at(file).name] = false;
  return real(file).xSync(file, flags);
}

int FaultVfs::fileSize(sqlite3_file* file, sqlite3_int64* size) {
  return fails() ? SQLITE_IOERR_FSTAT : real(file).xFileSize(file, size);
}

int FaultVfs::shmMap(sqlite3_file* file, int page, int size, int extend, void volatile** bytes) {
  return fails() ? SQLITE_IOERR_SHMMAP : real(file).xShmMap(file, page, size, extend, bytes);
}

}  // namespace kyv_test

#pragma once

// A file that is written whole or not at all: the bytes go to a temporary file beside the target, which takes the
// target's name when everything is written. Standard output, pipes and devices are written directly.

#include <string>
#include <string_view>

namespace kyv_internal {

class OutputFile {
 public:
  OutputFile() = default;
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  // Removes what was not committed.
  ~OutputFile();

  // "-" is standard output. False with a message that names the file.
  [[nodiscard]] bool open(const std::string& path, std::string& error);
  enum class Content { kNew, kContinued };
  // A file that is to be kept whatever happens to the run, such as a list of rejected lines; continued, what is written
  // goes behind what it holds.
  [[nodiscard]] bool openInPlace(const std::string& path, Content content, std::string& error);

  [[nodiscard]] bool write(std::string_view bytes, std::string& error);
  // Gives the file its name. Nothing is written after it.
  [[nodiscard]] bool commit(std::string& error);

  bool isOpen() const { return descriptor_ >= 0; }
  bool isTerminal() const;
  // Whether it held something when it was opened that is still there.
  bool isContinued() const { return isContinued_; }
  bool isStandardOutput() const;
  // The target is not touched before commit().
  bool isTemporary() const { return !temporary_.empty(); }
  // The reader of the pipe that we write to has gone: the end of the run, but nobody's fault.
  bool readerHasGone() const { return readerHasGone_; }

 private:
  bool openTemporary(const std::string& target, std::string& error);
  bool fail(std::string& error);

  int descriptor_ = -1;
  std::string name_;
  std::string target_;     // the name that the temporary file takes in the end
  std::string temporary_;  // empty when the target is written directly
  bool readerHasGone_ = false;
  bool isContinued_ = false;
};

// Whether two paths lead to the same file; false when either does not exist or is "-".
bool isSameFile(const std::string& left, const std::string& right);
// The same, or whether they will when the file is made.
bool willBeSameFile(const std::string& left, const std::string& right);

}  // namespace kyv_internal

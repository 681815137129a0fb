#pragma once

// A headless Chromium, told what to do as developer tools tell it: messages in JSON through a pair of pipes. One that
// goes, or that does not answer for minutes, is an exception: the test fails.

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace kyv_test {

class Browser {
 public:
  using Json = nlohmann::json;

  // `program` is found along the path. `folder` is for the browser's own files, and must outlive it.
  Browser(const std::string& program, const std::string& folder) {
    ::signal(SIGPIPE, SIG_IGN);  // a browser that has gone is told by the write that fails
    int toBrowser[2];
    int fromBrowser[2];
    if (::pipe2(toBrowser, O_CLOEXEC) != 0 || ::pipe2(fromBrowser, O_CLOEXEC) != 0) {
      throw std::runtime_error("no pipes");
    }
    child_ = ::fork();
    if (child_ == 0) exec(program, folder, toBrowser[0], fromBrowser[1]);
    ::close(toBrowser[0]);
    ::close(fromBrowser[1]);
    out_ = toBrowser[1];
    in_ = fromBrowser[0];
  }
  Browser(const Browser&) = delete;
  Browser& operator=(const Browser&) = delete;
  ~Browser() {
    ::close(out_);
    ::close(in_);
    ::kill(child_, SIGKILL);
    ::waitpid(child_, nullptr, 0);
  }

  // Opens a page and waits until it is there.
  void open(const std::string& url) {
    const Json target = call("Target.createTarget", {{"url", "about:blank"}});
    session_ = call("Target.attachToTarget", {{"targetId", target["targetId"]}, {"flatten", true}})["sessionId"];
    call("Page.enable", Json::object());
    call("Page.navigate", {{"url", url}});
    while (evaluate("document.readyState") != "complete" || evaluate("location.href") != url) {
      if (Clock::now() > deadline_) throw std::runtime_error(url + " does not open");
      ::usleep(kWaitMicros);
    }
  }

  // The value of an expression in the page.
  Json evaluate(const std::string& expression) {
    const Json result = call("Runtime.evaluate", {{"expression", expression}, {"returnByValue", true}});
    if (result.contains("exceptionDetails")) throw std::runtime_error(result.dump());
    return result["result"].value("value", Json());
  }

  void moveMouseTo(double x, double y) { mouse("mouseMoved", x, y, 0); }
  void clickAt(double x, double y) {
    mouse("mousePressed", x, y, 1);
    mouse("mouseReleased", x, y, 1);
  }

  // A PNG of what the window shows, in base64.
  std::string screenshot() { return call("Page.captureScreenshot", {{"format", "png"}})["data"]; }

  Json call(const std::string& method, const Json& parameters) {
    Json message = {{"id", ++lastId_}, {"method", method}, {"params", parameters}};
    if (!session_.empty()) message["sessionId"] = session_;
    send(message.dump());
    for (;;) {
      const Json answer = Json::parse(receive());
      if (answer.value("id", 0) != lastId_) continue;  // an event
      if (answer.contains("error")) throw std::runtime_error(method + ": " + answer["error"].dump());
      return answer["result"];
    }
  }

 private:
  using Clock = std::chrono::steady_clock;

  static constexpr int kWaitMicros = 10'000;
  static constexpr std::chrono::minutes kPatience{10};  // for a whole test, on a machine that does much else

  [[noreturn]] static void exec(const std::string& program, const std::string& folder, int in, int out) {
    // The ends that the browser reads and writes are its descriptors 3 and 4; first out of each other's way.
    constexpr int kFree = 100;
    const int input = ::fcntl(in, F_DUPFD, kFree);
    const int output = ::fcntl(out, F_DUPFD, kFree);
    ::dup2(input, 3);
    ::dup2(output, 4);
    const int nowhere = ::open("/dev/null", O_RDWR);
    for (const int stream : {0, 1, 2}) ::dup2(nowhere, stream);
    const std::string profile = "--user-data-dir=" + folder + "/profile";
    ::execlp(program.c_str(), program.c_str(), "--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
             "--hide-scrollbars", "--window-size=1400,900", "--remote-debugging-pipe", profile.c_str(),
             static_cast<char*>(nullptr));
    ::_exit(127);
  }

  void mouse(const char* type, double x, double y, int clicks) {
    const char* const button = clicks > 0 ? "left" : "none";
    call("Input.dispatchMouseEvent", {{"type", type}, {"x", x}, {"y", y}, {"button", button}, {"clickCount", clicks}});
  }

  void send(std::string text) const {
    text += '\0';
    for (std::size_t done = 0; done < text.size();) {
      const ssize_t written = ::write(out_, text.data() + done, text.size() - done);
      if (written <= 0) throw std::runtime_error("the browser has gone");
      done += static_cast<std::size_t>(written);
    }
  }

  // Messages end in NUL bytes.
  std::string receive() {
    std::size_t end = 0;
    while ((end = received_.find('\0')) == std::string::npos) {
      waitForAnswer();
      std::array<char, 65536> piece;
      const ssize_t got = ::read(in_, piece.data(), piece.size());
      if (got <= 0) throw std::runtime_error("the browser has gone");
      received_.append(piece.data(), static_cast<std::size_t>(got));
    }
    std::string message = received_.substr(0, end);
    received_.erase(0, end + 1);
    return message;
  }

  void waitForAnswer() const {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline_ - Clock::now());
    pollfd waited = {in_, POLLIN, 0};
    const int ready = ::poll(&waited, 1, std::max(static_cast<int>(left.count()), 0));
    if (ready == 0) throw std::runtime_error("the browser does not answer");
  }

  const Clock::time_point deadline_ = Clock::now() + kPatience;
  pid_t child_ = -1;
  int out_ = -1;
  int in_ = -1;
  int lastId_ = 0;
  std::string session_;
  std::string received_;
};

}  // namespace kyv_test

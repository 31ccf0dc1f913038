// An X server of a test's own, without a screen, and what a user could see and do there.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <sys/types.h>
#include <vector>

namespace veltro::test {

/// Starts Xvfb on a display number that it finds itself. It does not outlive this process.
class XServer {
public:
  XServer();
  ~XServer();
  XServer(const XServer &) = delete;
  XServer &operator=(const XServer &) = delete;

  /// For DISPLAY.
  [[nodiscard]] const std::string &name() const { return name_; }

  /// Ends it under its clients' feet.
  void kill();

private:
  pid_t process_ = 0;
  std::string name_;
};

/// What a window shows: a pixel is 0x00RRGGBB.
struct Screenshot {
  int width = 0;
  int height = 0;
  std::vector<std::uint32_t> pixels;

  friend bool operator==(const Screenshot &, const Screenshot &) = default;
};

/// The only window on a display, seen by another client.
class SeenWindow {
public:
  /// Waits for it to show. Throws where it does not come, or `process` ends first.
  SeenWindow(const XServer &server, pid_t process);
  ~SeenWindow();
  SeenWindow(const SeenWindow &) = delete;
  SeenWindow &operator=(const SeenWindow &) = delete;

  [[nodiscard]] std::string title() const;
  [[nodiscard]] Screenshot picture() const;
  /// Waits for it to show what `is_it` says; false where it never does.
  [[nodiscard]] bool shows(const std::function<bool(const Screenshot &)> &is_it) const;
  /// Presses a button of the mouse there and lets it go.
  void click(int x, int y, unsigned button = 1) const;
  /// What a window manager does when its user closes a window.
  void ask_to_close() const;

private:
  struct Client;
  std::unique_ptr<Client> client_;
};

} // namespace veltro::test

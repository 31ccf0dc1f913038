// A window on an X display, drawn with cairo, which brings Xlib along: no toolkit is needed.
#pragma once

#include <chrono>
#include <memory>
#include <string>

namespace veltro::tool {

class X11Window {
public:
  enum class Kind {
    nothing, // the time is over, or what happened concerns nobody
    click,   // the left button was let go at x, y
    close,   // the user wants the window away
  };
  struct Event {
    Kind kind;
    int x;
    int y;
  };

  /// A white window of so many pixels, on the display that DISPLAY names; null where there is none.
  static std::unique_ptr<X11Window> open(const std::string &title, int width, int height);
  ~X11Window();
  X11Window(const X11Window &) = delete;
  X11Window &operator=(const X11Window &) = delete;

  /// Shows a picture of the window's size on white: premultiplied words with alpha in the high
  /// byte, rows `stride` bytes apart.
  void show(const unsigned char *pixels, int stride);

  /// Waits for the next event, for so long.
  Event wait(std::chrono::milliseconds time);

private:
  struct Server;
  X11Window(std::unique_ptr<Server> server, int width, int height);

  std::unique_ptr<Server> server_;
  int width_;
  int height_;
};

} // namespace veltro::tool

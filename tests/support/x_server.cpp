#include "support/x_server.hpp"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <chrono>
#include <csignal>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace veltro::test {
namespace {

// Long enough for the busiest machine; nothing waits for it where all is well.
constexpr std::chrono::seconds kTimeout{60};
constexpr std::chrono::milliseconds kPause{5};

bool until(const std::function<bool()> &condition) {
  const auto end = std::chrono::steady_clock::now() + kTimeout;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end)
      return false;
    std::this_thread::sleep_for(kPause);
  }
  return true;
}

} // namespace

XServer::XServer() {
  int number[2];
  if (pipe(number) != 0)
    throw std::runtime_error("no pipe");
  process_ = fork();
  if (process_ == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    close(number[0]);
    const std::string descriptor = std::to_string(number[1]);
    freopen("/dev/null", "w", stderr);
    execlp("Xvfb", "Xvfb", "-displayfd", descriptor.c_str(), "-screen", "0", "800x900x24",
           "-nolisten", "tcp", "-noreset", nullptr);
    _exit(127);
  }
  close(number[1]);
  name_ = ":";
  for (char digit = 0; read(number[0], &digit, 1) == 1 && digit != '\n';)
    name_ += digit;
  close(number[0]);
  if (name_ == ":")
    throw std::runtime_error("Xvfb does not start");
}

XServer::~XServer() {
  kill();
}

void XServer::kill() {
  if (process_ > 0) {
    // Asked to end, it takes its socket and its lock away.
    ::kill(process_, SIGTERM);
    waitpid(process_, nullptr, 0);
  }
  process_ = 0;
}

struct SeenWindow::Client {
  explicit Client(const XServer &server) : display(XOpenDisplay(server.name().c_str())) {
    if (display == nullptr)
      throw std::runtime_error("no connection to Xvfb");
  }
  ~Client() { XCloseDisplay(display); }
  Client(const Client &) = delete;
  Client &operator=(const Client &) = delete;

  bool find() {
    Window root = 0;
    Window parent = 0;
    Window *children = nullptr;
    unsigned count = 0;
    XQueryTree(display, DefaultRootWindow(display), &root, &parent, &children, &count);
    for (unsigned place = 0; place < count; ++place) {
      XWindowAttributes attributes;
      if (XGetWindowAttributes(display, children[place], &attributes) != 0 &&
          attributes.map_state == IsViewable)
        window = children[place];
    }
    if (children != nullptr)
      XFree(children);
    return window != 0;
  }

  [[nodiscard]] Screenshot look() const {
    XWindowAttributes attributes;
    XGetWindowAttributes(display, window, &attributes);
    Screenshot shot{attributes.width, attributes.height, {}};
    XImage *const image = XGetImage(display, window, 0, 0, static_cast<unsigned>(shot.width),
                                    static_cast<unsigned>(shot.height), AllPlanes, ZPixmap);
    if (image == nullptr)
      throw std::runtime_error("the window shows nothing");
    for (int y = 0; y < shot.height; ++y)
      for (int x = 0; x < shot.width; ++x)
        shot.pixels.push_back(static_cast<std::uint32_t>(XGetPixel(image, x, y)) & 0xFFFFFF);
    XDestroyImage(image);
    return shot;
  }

  void send(XEvent &event, long mask) const {
    XSendEvent(display, window, False, mask, &event);
    XSync(display, False);
  }

  Display *display;
  Window window = 0;
};

SeenWindow::SeenWindow(const XServer &server, pid_t process)
    : client_(std::make_unique<Client>(server)) {
  const auto has_ended = [process] {
    siginfo_t facts{};
    return waitid(P_PID, static_cast<id_t>(process), &facts, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           facts.si_pid == process;
  };
  if (!until([&] { return client_->find() || has_ended(); }) || client_->window == 0)
    throw std::runtime_error("no window shows");
}

SeenWindow::~SeenWindow() = default;

std::string SeenWindow::title() const {
  char *name = nullptr;
  XFetchName(client_->display, client_->window, &name);
  std::string title = name != nullptr ? name : "";
  XFree(name);
  return title;
}

Screenshot SeenWindow::picture() const {
  return client_->look();
}

bool SeenWindow::shows(const std::function<bool(const Screenshot &)> &is_it) const {
  return until([&] { return is_it(client_->look()); });
}

void SeenWindow::click(int x, int y, unsigned button) const {
  for (const int type : {ButtonPress, ButtonRelease}) {
    XEvent event{};
    event.xbutton.type = type;
    event.xbutton.window = client_->window;
    event.xbutton.root = DefaultRootWindow(client_->display);
    event.xbutton.x = x;
    event.xbutton.y = y;
    event.xbutton.button = button;
    event.xbutton.same_screen = True;
    client_->send(event, type == ButtonPress ? ButtonPressMask : ButtonReleaseMask);
  }
}

void SeenWindow::ask_to_close() const {
  XEvent event{};
  event.xclient.type = ClientMessage;
  event.xclient.window = client_->window;
  event.xclient.message_type = XInternAtom(client_->display, "WM_PROTOCOLS", False);
  event.xclient.format = 32;
  event.xclient.data.l[0] =
      static_cast<long>(XInternAtom(client_->display, "WM_DELETE_WINDOW", False));
  client_->send(event, NoEventMask);
}

} // namespace veltro::test

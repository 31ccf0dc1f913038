#include "x11_window.hpp"

#include "io/exit.hpp"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <cairo-xlib.h>
#include <poll.h>
#include <unistd.h>

namespace veltro::tool {
namespace {

// Xlib ends the process when the connection breaks; this only chooses the words.
int display_is_gone(Display * /*display*/) {
  _exit(failure("the display is gone"));
}

void fix_size(Display *display, Window window, int width, int height) {
  XSizeHints hints{};
  hints.flags = PMinSize | PMaxSize;
  hints.min_width = hints.max_width = width;
  hints.min_height = hints.max_height = height;
  XSetWMNormalHints(display, window, &hints);
}

} // namespace

struct X11Window::Server {
  Server(Display *display, int width, int height)
      : display(display),
        window(XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0,
                                   static_cast<unsigned>(width), static_cast<unsigned>(height), 0,
                                   BlackPixel(display, DefaultScreen(display)),
                                   WhitePixel(display, DefaultScreen(display)))),
        surface(cairo_xlib_surface_create(
            display, window, DefaultVisual(display, DefaultScreen(display)), width, height)),
        delete_window(XInternAtom(display, "WM_DELETE_WINDOW", False)) {}
  ~Server() {
    cairo_surface_destroy(surface);
    XDestroyWindow(display, window);
    XCloseDisplay(display);
  }
  Server(const Server &) = delete;
  Server &operator=(const Server &) = delete;

  Display *display;
  Window window;
  cairo_surface_t *surface;
  Atom delete_window;
};

std::unique_ptr<X11Window> X11Window::open(const std::string &title, int width, int height) {
  Display *const display = XOpenDisplay(nullptr);
  if (display == nullptr)
    return nullptr;
  XSetIOErrorHandler(display_is_gone);
  auto server = std::make_unique<Server>(display, width, height);
  XStoreName(display, server->window, title.c_str());
  fix_size(display, server->window, width, height);
  XSetWMProtocols(display, server->window, &server->delete_window, 1);
  XSelectInput(display, server->window, ButtonReleaseMask);
  XMapWindow(display, server->window);
  return std::unique_ptr<X11Window>(new X11Window(std::move(server), width, height));
}

X11Window::X11Window(std::unique_ptr<Server> server, int width, int height)
    : server_(std::move(server)), width_(width), height_(height) {}

X11Window::~X11Window() = default;

void X11Window::show(const unsigned char *pixels, int stride) {
  cairo_surface_t *const picture = cairo_image_surface_create_for_data(
      const_cast<unsigned char *>(pixels), CAIRO_FORMAT_ARGB32, width_, height_, stride);
  cairo_t *const cairo = cairo_create(server_->surface);
  // In one piece, so that the white below is never seen by itself.
  cairo_push_group_with_content(cairo, CAIRO_CONTENT_COLOR);
  cairo_set_source_rgb(cairo, 1, 1, 1);
  cairo_paint(cairo);
  cairo_set_source_surface(cairo, picture, 0, 0);
  cairo_paint(cairo);
  cairo_pop_group_to_source(cairo);
  cairo_paint(cairo);
  cairo_destroy(cairo);
  cairo_surface_destroy(picture);
  cairo_surface_flush(server_->surface);
  XFlush(server_->display);
}

X11Window::Event X11Window::wait(std::chrono::milliseconds time) {
  constexpr Event kNothing{Kind::nothing, 0, 0};
  if (XPending(server_->display) == 0) {
    pollfd connection{ConnectionNumber(server_->display), POLLIN, 0};
    poll(&connection, 1, static_cast<int>(time.count()));
    if (XPending(server_->display) == 0)
      return kNothing;
  }
  XEvent event;
  XNextEvent(server_->display, &event);
  if (event.type == ButtonRelease && event.xbutton.button == Button1)
    return {Kind::click, event.xbutton.x, event.xbutton.y};
  if (event.type == ClientMessage &&
      static_cast<Atom>(event.xclient.data.l[0]) == server_->delete_window)
    return {Kind::close, 0, 0};
  return kNothing;
}

} // namespace veltro::tool

// One request over the channel against a bare POSIX client of the same server. The request asks
// whether the app runs and logs its payload each time. "request" leaves both out; "whole-request"
// has them, and its peer runs a bare loop over the processes before each request.

#include "bare_process_loop.hpp"

#import <veltro/ZLTSocketUtils.h>
#import <veltro/ZLTUtils+Channel.h>
#import <veltro/ZLTUtils+ProcessTable.h>

#import <objc/runtime.h>

#include <array>
#include <benchmark/benchmark.h>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <netinet/in.h>
#include <string>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

bool logging = false;

} // namespace

/// The benchmark's own NSLog, so that logging can be left out.
extern "C" void NSLog(NSString *format, ...) {
  if (!logging)
    return;
  va_list arguments;
  va_start(arguments, format);
  NSLogv(format, arguments);
  va_end(arguments);
}

namespace {

bool receive(int socket, void *buffer, std::size_t length) {
  for (std::size_t total = 0; total < length;) {
    const ssize_t got = recv(socket, static_cast<char *>(buffer) + total, length - total, 0);
    if (got < 1)
      return false;
    total += static_cast<std::size_t>(got);
  }
  return true;
}

bool transmit(int socket, std::array<iovec, 3> parts) {
  msghdr message{};
  message.msg_iov = parts.data();
  message.msg_iovlen = parts.size();
  for (;;) {
    ssize_t sent = sendmsg(socket, &message, MSG_NOSIGNAL);
    if (sent < 0)
      return false;
    while (message.msg_iovlen > 0 && static_cast<std::size_t>(sent) >= message.msg_iov->iov_len) {
      sent -= static_cast<ssize_t>(message.msg_iov->iov_len);
      ++message.msg_iov;
      --message.msg_iovlen;
    }
    if (message.msg_iovlen == 0)
      return true;
    message.msg_iov->iov_base = static_cast<char *>(message.msg_iov->iov_base) + sent;
    message.msg_iov->iov_len -= static_cast<std::size_t>(sent);
  }
}

/// A process that sends every payload back.
class EchoServer {
public:
  EchoServer() {
    listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto *generic = reinterpret_cast<sockaddr *>(&address);
    if (bind(listener_, generic, size) != 0 || listen(listener_, SOMAXCONN) != 0 ||
        getsockname(listener_, generic, &size) != 0)
      std::abort();
    port_ = ntohs(address.sin_port);
    process_ = fork();
    if (process_ == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      serve();
    }
  }
  ~EchoServer() {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
    close(listener_);
  }
  EchoServer(const EchoServer &) = delete;
  EchoServer &operator=(const EchoServer &) = delete;

  [[nodiscard]] std::uint16_t port() const { return port_; }

private:
  [[noreturn]] void serve() const {
    prctl(PR_SET_NAME, "WhatsApp"); // as whose server it is looked for
    std::vector<char> payload;
    for (;;) {
      const int client = accept(listener_, nullptr, nullptr);
      std::array<char, 9> head{};
      if (receive(client, head.data(), head.size())) {
        std::uint64_t length = 0;
        std::memcpy(&length, head.data() + 1, sizeof length);
        payload.resize(length);
        if (receive(client, payload.data(), length))
          transmit(client, {{{head.data() + 1, 8}, {payload.data(), length}, {}}});
      }
      close(client);
    }
  }

  int listener_;
  std::uint16_t port_;
  pid_t process_;
};

std::uint16_t server_port() {
  static const EchoServer server;
  return server.port();
}

/// The same request with no more system calls than it needs; the reply is the caller's to free.
char *posix_request(char identifier, const std::string &payload, std::uint64_t &reply_length) {
  const int client = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(server_port());
  std::uint64_t length = payload.size();
  char *reply = nullptr;
  if (connect(client, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0 &&
      transmit(client, {{{&identifier, 1},
                         {&length, sizeof length},
                         {const_cast<char *>(payload.data()), payload.size()}}}) &&
      receive(client, &reply_length, sizeof reply_length)) {
    reply = static_cast<char *>(std::malloc(reply_length));
    if (reply != nullptr && !receive(client, reply, reply_length))
      reply_length = 0;
  }
  close(client);
  return reply;
}

BOOL running(id /*self*/, SEL /*command*/) {
  return YES;
}

/// Leaves the process check out while it lives.
class WithoutProcessCheck {
public:
  WithoutProcessCheck()
      : method_(class_getClassMethod([ZLTUtils class], @selector(isWhatsAppRunning))),
        original_(method_setImplementation(
            method_, reinterpret_cast<IMP>(reinterpret_cast<void *>(running)))) {}
  ~WithoutProcessCheck() { method_setImplementation(method_, original_); }
  WithoutProcessCheck(const WithoutProcessCheck &) = delete;
  WithoutProcessCheck &operator=(const WithoutProcessCheck &) = delete;

private:
  Method method_;
  IMP original_;
};

/// Has this process log to nowhere while it lives.
class LoggingToNowhere {
public:
  LoggingToNowhere() : old_(dup(STDERR_FILENO)) {
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDERR_FILENO);
    close(nowhere);
    logging = true;
  }
  ~LoggingToNowhere() {
    logging = false;
    dup2(old_, STDERR_FILENO);
    close(old_);
  }
  LoggingToNowhere(const LoggingToNowhere &) = delete;
  LoggingToNowhere &operator=(const LoggingToNowhere &) = delete;

private:
  int old_;
};

/// A line of /proc/self/status, in KiB.
double status(const std::string &name) {
  FILE *file = std::fopen("/proc/self/status", "r");
  std::array<char, 256> line{};
  double value = 0;
  while (std::fgets(line.data(), line.size(), file) != nullptr)
    if (name == std::string(line.data()).substr(0, name.size()))
      value = std::strtod(line.data() + name.size() + 1, nullptr);
  std::fclose(file);
  return value;
}

void reset_peak() {
  const int file = open("/proc/self/clear_refs", O_WRONLY | O_CLOEXEC);
  if (write(file, "5", 1) != 1)
    std::abort();
  close(file);
}

/// By how many MiB a request made the process grow at its peak, its payload not counted.
void report_peak(benchmark::State &state, double before) {
  state.counters["peak_MiB"] = (status("VmHWM") - before) / 1024;
}

void request_veltro(benchmark::State &state) {
  const std::string text(static_cast<std::size_t>(state.range(0)), 'x');
  [ZLTSocketUtils setSocketPort:server_port()];
  reset_peak();
  const double before = status("VmRSS");
  @autoreleasepool {
    NSData *payload = [NSData dataWithBytesNoCopy:const_cast<char *>(text.data())
                                           length:text.size()
                                     freeWhenDone:NO];
    for (auto _ : state) {
      @autoreleasepool {
        if ([[ZLTUtils sendMessage:1 messageData:payload] length] != text.size()) {
          state.SkipWithError("no reply");
          break;
        }
      }
    }
  }
  report_peak(state, before);
}

void bare_request_veltro(benchmark::State &state) {
  const WithoutProcessCheck unchecked;
  request_veltro(state);
}

void whole_request_veltro(benchmark::State &state) {
  const LoggingToNowhere logging_too;
  request_veltro(state);
}

void request_posix(benchmark::State &state, bool with_process_loop) {
  const std::string payload(static_cast<std::size_t>(state.range(0)), 'x');
  static_cast<void>(server_port());
  reset_peak();
  const double before = status("VmRSS");
  for (auto _ : state) {
    if (with_process_loop)
      veltro::bench::bare_process_loop();
    std::uint64_t length = 0;
    char *reply = posix_request(1, payload, length);
    std::free(reply);
    if (length != payload.size()) {
      state.SkipWithError("no reply");
      break;
    }
  }
  report_peak(state, before);
}

void process_check(benchmark::State &state) {
  for (auto _ : state) {
    @autoreleasepool {
      benchmark::DoNotOptimize([ZLTUtils isWhatsAppRunning]);
    }
  }
}

/// The line that opens every request.
void log_line(benchmark::State &state) {
  const LoggingToNowhere logging_too;
  @autoreleasepool {
    NSData *payload = [NSMutableData dataWithLength:static_cast<NSUInteger>(state.range(0))];
    for (auto _ : state) {
      @autoreleasepool {
        NSLog(@"messageId %d & messageData: %@, ZLTSocketUtils socketPort]: %ld", 1, payload,
              4711L);
      }
    }
  }
}

constexpr std::int64_t kLarge = std::int64_t{64} << 20;

BENCHMARK(bare_request_veltro)->Name("request/veltro")->Arg(64)->UseRealTime();
BENCHMARK_CAPTURE(request_posix, , false)->Name("request/posix")->Arg(64)->UseRealTime();
BENCHMARK(bare_request_veltro)
    ->Name("request/veltro")
    ->Arg(kLarge)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(request_posix, , false)
    ->Name("request/posix")
    ->Arg(kLarge)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(whole_request_veltro)->Name("whole-request/veltro")->Arg(64)->UseRealTime();
BENCHMARK_CAPTURE(request_posix, , true)
    ->Name("whole-request/posix-and-bare-loop")
    ->Arg(64)
    ->UseRealTime();
BENCHMARK(process_check)->Name("process check/veltro");
BENCHMARK(log_line)->Name("log line/veltro")->Arg(64);

} // namespace

BENCHMARK_MAIN();

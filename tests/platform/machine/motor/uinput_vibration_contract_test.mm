// The virtual device and the motor on it where there is no uinput: one FIFO is both the file of
// uinput and that of the input device, so that what is played comes out where it is served.

#include "both_calls.hpp"
#include "intercepted_ioctl.hpp"
#include "support/virtual_rumble.hpp"
#include "uinput_kernel.hpp"

#include <cerrno>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/uinput.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

veltro::test::UinputKernel *kernel = nullptr;

} // namespace

bool veltro::test::handles_ioctls(unsigned type) {
  return type == 'E' || type == UINPUT_IOCTL_BASE;
}

int veltro::test::handle_ioctl(unsigned long request, void *argument) {
  const int result = kernel->control(request, argument);
  errno = result < 0 ? -result : errno;
  return result < 0 ? -1 : result;
}

namespace veltro::test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;

class UinputVibrationContract : public testing::Test {
protected:
  UinputVibrationContract() {
    std::filesystem::create_directories(folder_.path() / "devices/input7/event5");
    kernel = &kernel_;
  }
  ~UinputVibrationContract() override { close(file_); }

  int make_fifo() {
    mkfifo(fifo_.c_str(), 0600);
    return open(fifo_.c_str(), O_RDWR | O_CLOEXEC);
  }

  ScratchFolder folder_;
  std::filesystem::path fifo_ = folder_.path() / "fifo";
  int file_ = make_fifo();
  UinputKernel kernel_{file_};
};

TEST_F(UinputVibrationContract, BothCallsReachTheDevice) {
  VirtualRumble device(fifo_, folder_.path() / "devices");
  ASSERT_EQ(device.missing(), "");
  EXPECT_EQ(device.event_name(), "event5");
  vibrate_with_both_calls(fifo_);
  EXPECT_THAT(device.served(),
              ElementsAre("upload 0: rumble 65535 and 0, 300 ms after 0 ms", "play 0", "stop 0",
                          "erase 0", "upload 0: rumble 32767 and 0, 500 ms after 0 ms", "play 0",
                          "upload 1: rumble 32767 and 0, 500 ms after 600 ms", "play 1"));
}

TEST_F(UinputVibrationContract, SaysWhyThereIsNoDevice) {
  EXPECT_THAT(VirtualRumble(folder_.path() / "none").missing(),
              EndsWith("none: No such file or directory"));
  EXPECT_EQ(VirtualRumble(fifo_, folder_.path() / "none").missing(),
            "the virtual device has no event file");
}

} // namespace
} // namespace veltro::test

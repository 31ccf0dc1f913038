// A Secret Service of this program's own: gnome-keyring on a private D-Bus, asked through
// libsecret.
#pragma once

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <libsecret/secret.h>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace veltro::bench {

class SecretService {
public:
  explicit SecretService(std::filesystem::path folder) : folder_(std::move(folder)) {
    std::filesystem::create_directories(folder_);
    for (const char *name : {"HOME", "XDG_RUNTIME_DIR", "XDG_CONFIG_HOME"})
      setenv(name, folder_.c_str(), 1);
    const std::string bus = start({"dbus-daemon", "--session", "--nofork", "--print-address"}, "");
    setenv("DBUS_SESSION_BUS_ADDRESS", bus.c_str(), 1);
  }
  ~SecretService() {
    for (const pid_t child : children_) {
      kill(child, SIGKILL);
      waitpid(child, nullptr, 0);
    }
  }
  SecretService(const SecretService &) = delete;
  SecretService &operator=(const SecretService &) = delete;

  /// Makes the keyring of this name the one in use; whether it replies.
  bool use(const std::string &keyring) {
    if (keyring == keyring_)
      return works_;
    keyring_ = keyring;
    works_ = false;
    secret_service_disconnect();
    while (children_.size() > 1) { // all but the bus
      kill(children_.back(), SIGKILL);
      waitpid(children_.back(), nullptr, 0);
      children_.pop_back();
    }
    std::filesystem::create_directories(folder_ / keyring);
    setenv("XDG_DATA_HOME", (folder_ / keyring).c_str(), 1);
    start({"gnome-keyring-daemon", "--foreground", "--unlock", "--components=secrets"}, "password");
    // It says nothing when it is ready.
    for (int attempt = 0; attempt < 100 && !works_; ++attempt) {
      usleep(100'000);
      works_ = save("probe", "probe", "probe") && !fetch("probe", "probe").empty();
    }
    remove("probe", "probe");
    return works_;
  }

  bool save(const std::string &service, const std::string &account, const std::string &secret) {
    return secret_password_store_sync(schema(), SECRET_COLLECTION_DEFAULT, service.c_str(),
                                      secret.c_str(), nullptr, nullptr, "service", service.c_str(),
                                      "account", account.c_str(), nullptr) != FALSE;
  }

  std::string fetch(const std::string &service, const std::string &account) {
    char *const found =
        secret_password_lookup_sync(schema(), nullptr, nullptr, "service", service.c_str(),
                                    "account", account.c_str(), nullptr);
    std::string secret = found != nullptr ? found : "";
    secret_password_free(found);
    return secret;
  }

  void remove(const std::string &service, const std::string &account) {
    secret_password_clear_sync(schema(), nullptr, nullptr, "service", service.c_str(), "account",
                               account.c_str(), nullptr);
  }

  std::size_t list() {
    GList *const items =
        secret_password_search_sync(schema(), SECRET_SEARCH_ALL, nullptr, nullptr, nullptr);
    std::size_t count = 0;
    for (GList *at = items; at != nullptr; at = at->next, ++count)
      g_hash_table_unref(secret_retrievable_get_attributes(SECRET_RETRIEVABLE(at->data)));
    g_list_free_full(items, g_object_unref);
    return count;
  }

private:
  static const SecretSchema *schema() {
    static const SecretSchema schema = {"com.norvane.veltro.Bench",
                                        SECRET_SCHEMA_NONE,
                                        {{"service", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                         {"account", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                         {nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING}},
                                        0,
                                        nullptr,
                                        nullptr,
                                        nullptr,
                                        nullptr,
                                        nullptr,
                                        nullptr,
                                        nullptr};
    return &schema;
  }

  /// Starts a program that ends with this one; returns the first line that it prints, where it
  /// prints its address.
  std::string start(const std::vector<std::string> &arguments, const std::string &input) {
    std::array<int, 2> in{};
    std::array<int, 2> out{};
    if (pipe(in.data()) != 0 || pipe(out.data()) != 0)
      return {};
    std::vector<char *> argv;
    argv.reserve(arguments.size() + 1);
    for (const std::string &argument : arguments)
      argv.push_back(const_cast<char *>(argument.c_str()));
    argv.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      dup2(in[0], STDIN_FILENO);
      dup2(out[1], STDOUT_FILENO);
      dup2(open("/dev/null", O_WRONLY), STDERR_FILENO); // warnings about each item
      for (const int end : {in[0], in[1], out[0], out[1]})
        close(end);
      execvp(argv[0], argv.data());
      _exit(127);
    }
    close(in[0]);
    close(out[1]);
    children_.push_back(child);
    [[maybe_unused]] const ssize_t written = write(in[1], input.data(), input.size());
    close(in[1]);
    std::string line;
    char character = 0;
    while (arguments.back() == "--print-address" && read(out[0], &character, 1) == 1 &&
           character != '\n')
      line += character;
    return line; // the other end stays open: the program may keep printing
  }

  std::filesystem::path folder_;
  std::string keyring_;
  std::vector<pid_t> children_;
  bool works_ = false;
};

} // namespace veltro::bench

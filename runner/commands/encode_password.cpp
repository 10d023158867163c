#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <iostream>

#include "commands.h"

namespace uwugit::runner {
namespace {

// Switches the terminal's echo off while it lives.
class SilentTerminal {
 public:
  SilentTerminal() : is_terminal_(tcgetattr(STDIN_FILENO, &before_) == 0) {
    if (!is_terminal_) return;
    termios silent = before_;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
    std::fputs("Password: ", stderr);
  }
  ~SilentTerminal() {
    if (!is_terminal_) return;
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_);
    std::fputs("\n", stderr);
  }
  SilentTerminal(const SilentTerminal&) = delete;
  SilentTerminal& operator=(const SilentTerminal&) = delete;

 private:
  termios before_{};
  bool is_terminal_;
};

}  // namespace

int encode_password() {
  std::string password;
  {
    const SilentTerminal silence;
    if (!std::getline(std::cin, password)) throw host::UsageError("No password was given.");
  }
  const std::string encoded = host::PasswordService().encode(password);
  explicit_bzero(password.data(), password.size());
  std::printf("%s\n", encoded.c_str());
  return kExitSuccess;
}

}  // namespace uwugit::runner

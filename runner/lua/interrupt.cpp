#include "lua/interrupt.h"

#include <csignal>

#include "temporary_folders.h"

namespace uwugit::runner {
namespace {

constexpr int kInstructions = 10000;  // of Lua between two looks at the flag

volatile std::sig_atomic_t was_interrupted = 0;
struct sigaction usual_action;

void handle_interrupt(int number) {
  if (was_interrupted) {
    remove_temporary_folders();
    std::signal(number, SIG_DFL);
    raise(number);
  }
  was_interrupted = 1;
}

// A program that catches the error meets it again, until it ends.
void look(lua_State* lua, lua_Debug*) {
  if (!was_interrupted) return;
  lua_pushliteral(lua, "interrupted");
  lua_error(lua);
}

}  // namespace

void allow_interrupts(lua_State* lua) { lua_sethook(lua, look, LUA_MASKCOUNT, kInstructions); }

Interruptible::Interruptible() {
  was_interrupted = 0;
  struct sigaction action {};
  action.sa_handler = handle_interrupt;
  action.sa_flags = SA_RESTART;  // calls of the module do not notice
  sigaction(SIGINT, &action, &usual_action);
}

Interruptible::~Interruptible() {
  sigaction(SIGINT, &usual_action, nullptr);
  was_interrupted = 0;
}

bool Interruptible::is_interrupted() const { return was_interrupted != 0; }

}  // namespace uwugit::runner

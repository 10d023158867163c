#include "operations.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <string>

#include "format.h"
#include "run.h"
#include "uwugithost/host.h"

namespace uwugit::host {
namespace {

Host& host() { return *Host::current(); }

void write_log(const char* text, ...) {
  std::va_list arguments;
  va_start(arguments, text);
  host().log().write_formatted(text, arguments);
  va_end(arguments);
}

std::size_t length_or_none(std::int64_t length) {
  return static_cast<std::size_t>(std::max<std::int64_t>(length, 0));
}

std::string_view text_of(const char* characters, std::int64_t length) {
  return {characters, length_or_none(length)};
}

// Copies as much of the text as there is room for, and answers how much that was. A variable
// without room may have no characters either: nothing is written to it.
std::size_t copy_cut(char* to, std::size_t room, std::string_view text) {
  const std::size_t taken = std::min(text.size(), room);
  if (taken > 0) std::memcpy(to, text.data(), taken);
  return taken;
}

// "%*s", by which the module writes every attribute: straight into the variable, so that it costs
// the value's length and nothing more.
std::size_t put_padded(char* characters, std::size_t room, int width, std::string_view value) {
  const std::size_t field = std::max(value.size(), length_or_none(width));
  host().last_formatted() = {characters, field};
  const std::size_t blanks = std::min(field - value.size(), room);
  if (blanks > 0) std::memset(characters, ' ', blanks);
  return blanks + copy_cut(characters + blanks, room - blanks, value);
}

std::size_t put_formatted(char* characters, std::size_t room, const char* format,
                          std::va_list arguments) {
  static std::string text;
  format_into(text, format, arguments);
  host().last_formatted() = {characters, text.size()};
  return copy_cut(characters, room, text);
}

std::int64_t format_variable(char* characters, std::int64_t capacity, const char* format, ...) {
  const std::size_t room = length_or_none(capacity);
  std::size_t written = 0;
  std::va_list arguments;
  va_start(arguments, format);
  if (std::strcmp(format, "%*s") == 0) {
    const int width = va_arg(arguments, int);
    written = put_padded(characters, room, width, va_arg(arguments, const char*));
  } else {
    written = put_formatted(characters, room, format, arguments);
  }
  va_end(arguments);
  return static_cast<std::int64_t>(written);
}

void log_code(std::int64_t, int code) { host().log().error(host().files().message(code)); }

int assign_file(char* reference, const char*, const char* path, std::size_t length, std::uint64_t) {
  return host().files().assign(reference, {path, length});
}
int open_file(const char* reference, const FileAttributes* attributes, HostFile** file) {
  return host().files().open({reference, kFileReferenceLength}, *attributes, file);
}
int close_file(HostFile* file) { return host().files().close(file); }

void exit_run(int code) {
  end_run(code, code == operation::kOutOfMemory ? "The module ran out of memory."
                                                : "The module ended the run.");
}

std::int64_t render_code(int code, char* text, std::int64_t capacity) {
  const std::string message = host().files().message(code);
  return static_cast<std::int64_t>(copy_cut(text, length_or_none(capacity), message));
}

void* macro_anchor() { return &host().macros(); }

int set_character_macro(void* anchor, const char* name, std::int64_t name_length, const char* text,
                        std::int64_t length, int) {
  static_cast<MacroVariables*>(anchor)->set(text_of(name, name_length),
                                            std::string(text_of(text, length)));
  return 0;
}
int set_numeric_macro(void* anchor, const char* name, std::int64_t name_length, double value, int) {
  static_cast<MacroVariables*>(anchor)->set(text_of(name, name_length), value);
  return 0;
}

int decode_password(HostPool* pool, const char* encoded, std::int64_t length, char** decoded,
                    std::int64_t* decoded_length) try {
  constexpr int kNotEncoded = -1;
  std::optional<std::string> found = host().passwords().decode(text_of(encoded, length));
  if (!found) return kNotEncoded;
  std::string& password = *found;
  *decoded = static_cast<char*>(pool->allocate(pool, password.size() + 1, 0));
  std::memcpy(*decoded, password.data(), password.size());
  *decoded_length = static_cast<std::int64_t>(password.size());
  explicit_bzero(password.data(), password.size());
  return 0;
} catch (const std::exception& error) {
  constexpr int kNoKey = -2;
  host().log().error(error.what());
  return kNoKey;
}

// Each row is checked against the operation's signature.
template <class Signature>
HostOperation operation_of(Signature* function) {
  return reinterpret_cast<HostOperation>(function);
}
#define PROVIDE(name, function) \
  { operation_number::name, operation_of<operation::name>(function) }

}  // namespace

std::span<const ProvidedOperation> provided_operations() {
  static const ProvidedOperation rows[] = {
      PROVIDE(xpslog, write_log),
      PROVIDE(xpsstr, format_variable),
      PROVIDE(xprrlog, log_code),
      PROVIDE(xxrasgn, assign_file),
      PROVIDE(xxropen, open_file),
      PROVIDE(xxclose, close_file),
      PROVIDE(xexit, exit_run),
      PROVIDE(xprlstr, render_code),
      PROVIDE(xalanch, macro_anchor),
      PROVIDE(xjsympc, set_character_macro),
      PROVIDE(xjsympn, set_numeric_macro),
      PROVIDE(omidcrp, decode_password),
  };
  return rows;
}

extern "C" [[noreturn]] __attribute__((visibility("hidden"))) void end_run_at_unprovided_operation(
    std::uint64_t identity) {
  end_run_missing_operation("slot " + std::to_string(identity & 0xFFFFFFFF) + " of vector " +
                            std::to_string(identity >> 32));
}

}  // namespace uwugit::host

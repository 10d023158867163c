// The rooms of the module from inside: strings, vector stubs, arguments, registration, passwords,
// messages, and what differs between versions of libgit2.
#include <git2.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <deque>
#include <map>
#include <optional>
#include <sstream>
#include <tuple>

#include "gitbind/compatibility.h"
#include "module/arguments.h"
#include "module/bootstrap.h"
#include "module/password.h"
#include "module/sysmsg.h"
#include "module/vector_stubs.h"
#include "support/sandbox.h"
#include "support/strings.h"
#include "uwugithost/call.h"

namespace uwugit::test {
namespace {

TEST(Strings, CompareWithTrailingBlanksInsignificant) {
  const std::vector<std::string> in_order[] = {{"\x1f"}, {"", "  "}, {"PATH"},    {"PATHS"},
                                               {"a\t"},  {"a \x1f"}, {"a", "a "}, {"a  x"},
                                               {"a x"},  {"a\x80"},  {"b"},       {"\xff"}};
  for (const auto& lefts : in_order) {
    for (const auto& rights : in_order) {
      for (const std::string& right : rights) {
        const std::string& left = lefts.back();
        const int order = wzstcom(left.data(), left.size(), right.data(), right.size());
        EXPECT_EQ((order > 0) - (order < 0), (&lefts > &rights) - (&lefts < &rights))
            << left << "|" << right;
      }
    }
  }
}

TEST(Strings, ConcatenateWithinTheirRoom) {
  for (std::size_t capacity = 0; capacity <= 8; ++capacity) {
    char text[] = "ab\0########";
    const std::size_t length = wzstcat(text, 2, capacity, "cdef", 4);
    EXPECT_EQ(length, std::clamp<std::size_t>(capacity - (capacity > 0), 2, 6)) << capacity;
    EXPECT_EQ(std::string("abcdef", length), text);
    EXPECT_EQ(text[std::max<std::size_t>(capacity, 3)], '#') << "behind the room";
  }
  EXPECT_EQ(wzstlen(nullptr), 0u);
}

TEST(Strings, WriteNumbersRightJustified) {
  const std::tuple<std::int64_t, std::size_t, const char*> rows[] = {
      {0, 1, "0"},   {1700000000, 20, "          1700000000"}, {-5, 4, "  -5"}, {-1, 1, "*"},
      {99, 2, "99"}, {INT64_MIN, 20, "-9223372036854775808"},  {1, 0, ""},      {-10, 2, "**"}};
  for (const auto& [number, width, expected] : rows) {
    std::string field(width, '#');
    wzclchr(number, field.data(), width);
    EXPECT_EQ(field, expected);
  }
}

HostTaskBlock task;
std::string seen;

// Keeps the identity before any compiled code runs, then goes on as the operation.
extern "C" {
std::uint64_t seen_identity;
void keep_identity();
void seen_operation(const char* text, int a, int b, int c, int d, int e, int f, double x) {
  std::ostringstream all;
  all << (seen_identity >> 32) << " " << (seen_identity & 0xFFFFFFFF) << " "
      << int{task.operation_state} << text << a << b << c << d << e << f << x;
  seen = all.str();
}
// Stubs of operations that only other modules' runtimes use.
void xpselec(), xpopset(), xyrcgef(), wzrlchr(), xyrngef(), zkelver(), wtrsset(), wiinstl();
}
#if defined(__x86_64__)
asm(".globl keep_identity\n keep_identity: movq %r10, seen_identity(%rip)\n jmp seen_operation");
#else
asm(".globl keep_identity\n keep_identity: adrp x16, seen_identity\n"
    "str x17, [x16, :lo12:seen_identity]\n b seen_operation");
#endif

TEST(Stubs, PassEveryArgumentThroughAndTellTheirIdentity) {
#define ROW(name, vector, slot) std::tuple(reinterpret_cast<void*>(name), vector, slot)
  const auto rows = {
      ROW(xpslog, 39, 89),   ROW(xpsstr, 39, 79),   ROW(xprrlog, 39, 130), ROW(xxrasgn, 39, 197),
      ROW(xxropen, 39, 207), ROW(xxclose, 39, 210), ROW(xexit, 39, 4),     ROW(xprlstr, 39, 104),
      ROW(xjsympc, 49, 31),  ROW(xjsympn, 49, 32),  ROW(xalanch, 40, 277), ROW(xpselec, 39, 108),
      ROW(xpopset, 39, 138), ROW(xyrcgef, 39, 56),  ROW(wzrlchr, 0, 320),  ROW(xyrngef, 39, 57),
      ROW(zkelver, 39, 194), ROW(wtrsset, 0, 192),  ROW(omidcrp, 516, 34), ROW(wiinstl, 0, 84)};
  for (const auto& [stub, vector, slot] : rows) {
    HostOperation slots[512] = {};
    const HostOperation* vectors[520] = {};
    slots[slot] = keep_identity;
    vectors[vector] = slots;
    task.operation_state = 0xFF;
    HostControlBlock gcb{.vectors = vectors, .task = &task};
    v_global_gcb_anchor = &gcb;
    reinterpret_cast<decltype(&seen_operation)>(stub)("%1z", 1, 2, 3, 4, 5, 6, 7.5);
    EXPECT_EQ(seen, std::to_string(vector) + " " + std::to_string(slot) + " 0%1z1234567.5");
  }
}

// What libgit2s of the test's own making have. All of them stay, so that no two have one address.
std::map<std::wstring, void*> made_up;
std::array<int, 3> version;  // major and minor number, and features

template <class Function>
void* address(Function* function) {
  return reinterpret_cast<void*>(function);
}

GitModule* make_git() {
  static std::deque<GitModule> all;
  all.emplace_back().lookup = [](GitModule*, const wchar_t* name, std::size_t length, auto) {
    const auto found = made_up.find(std::wstring(name, length));
    return found == made_up.end() ? nullptr : found->second;
  };
  return &all.back();
}

GitModule* make_git(int major, int minor, int features = 0) {
  version = {major, minor, features};
  made_up[L"git_libgit2_features"] = address(+[] { return version[2]; });
  made_up[L"git_libgit2_version"] = address(+[](int* first, int* second, int* third) {
    std::tie(*first, *second, *third) = std::tuple(version[0], version[1], 3);
    return 0;
  });
  return make_git();
}

// The rest has a real host around it.
class Rooms : public testing::Test {
 protected:
  Rooms() { made_up.clear(); }

  Sandbox sandbox_;
  host::Host host_{{}};
  host::LogCapture log_{host_.log()};
  int process_block_ = 0;
  const ModuleInformation* information_ = mcn_main(host_.control_block(), &process_block_);
};

TEST_F(Rooms, ReadNumbersAndTheLowHalfOfLengths) {
  constexpr std::int32_t low = INT32_MIN, high = INT32_MAX;
  const std::pair<double, std::int32_t> numbers[] = {
      {1.9, 1},      {-1.9, -1},       {high + .9, high}, {high - .1, high - 1},
      {1e300, high}, {INFINITY, high}, {low - .9, low},   {low + .1, low + 1},
      {-1e300, low}, {-INFINITY, low}, {NAN, low}};
  for (const auto& [given, expected] : numbers) {
    EXPECT_EQ(number_argument(host::Arguments().number(given).block(), 0), expected) << given;
  }
  const std::pair<std::int64_t, std::int32_t> lengths[] = {
      {3, 3}, {0, 0}, {-1, -1}, {0x100000002, 2}, {0x80000000, -1}, {INT64_MIN, 0}};
  for (const auto& [given, expected] : lengths) {
    host::Arguments arguments;
    arguments.number(1).text("text").string(1).length = given;
    EXPECT_EQ(text_argument(arguments.block(), 1).length, expected) << given;
    EXPECT_EQ(optional_text_argument(arguments.block(), 1).is_present(), expected >= 0);
    EXPECT_FALSE(optional_text_argument(arguments.block(), 2).is_present()) << "beyond the count";
  }
}

// The 32-bit words of a record.
std::string words(const void* record, std::size_t begin, std::size_t end) {
  std::ostringstream digits;
  const auto* word = static_cast<const std::uint32_t*>(record);
  for (std::size_t at = begin; at < end; at += 4) digits << std::hex << word[at / 4] << " ";
  return digits.str();
}

TEST_F(Rooms, DescribeTheModule) {
  EXPECT_EQ(v_global_gcb_anchor, host_.control_block());
  EXPECT_EQ(v_global_pidb_anchor, &process_block_);
  EXPECT_EQ(Exported_TKHandle, host_.control_block()->services);
  EXPECT_EQ(std::string(information_->tag, 24), std::string("KEL_Image_Information=\0\0", 24));
  EXPECT_EQ(words(information_, 24, 40), "b0bdebed 0 8 0 ");
  EXPECT_EQ(words(information_, 80, 96) + words(information_, 112, 120), "0 0 0 0 313030 0 ");
  const ProgramName* program = information_->programs[0];
  EXPECT_EQ(words(program, 0, 40), "ffff0000 ffffffff 400 0 400 0 67757775 705f7469 0 0 ");
  EXPECT_EQ(program->entry, reinterpret_cast<void*>(uwugit_p));
  EXPECT_EQ(words(program, 48, 80), "1 0 25d3 0 241907c 0 f 0 ");
  EXPECT_EQ(information_->programs[1], nullptr);
}

// What the host's allocator was asked for last.
struct KeepingAllocator : HostAllocator {
  std::tuple<std::size_t, std::uint64_t, HostAllocator*, void*, void*> asked;
  std::uint64_t memory[3] = {77, 0, 0};
};

TEST_F(Rooms, RegisterPullAndPush) {
  KeepingAllocator allocator;
  allocator.allocate = [](HostAllocator* self, auto... others) -> void* {
    static_cast<KeepingAllocator*>(self)->asked = {others...};
    return static_cast<KeepingAllocator*>(self)->memory;
  };
  host_.control_block()->allocator = &allocator;
  int a4, a5;
  const auto ask = [&](int mode) { return uwugit_p(mode, nullptr, nullptr, nullptr, &a4, &a5); };
  EXPECT_EQ(ask(2), allocator.memory);
  EXPECT_EQ(allocator.asked, std::tuple(24, 0x2006, &allocator, &a4, &a5));
  EXPECT_EQ(allocator.memory[0], 77u) << "the first word is the host's";
  EXPECT_EQ(allocator.memory[1], reinterpret_cast<std::uint64_t>(do_pull));
  EXPECT_EQ(allocator.memory[2], reinterpret_cast<std::uint64_t>(do_push));
  const auto* table = static_cast<DescriptorBlock*>(ask(1));
  EXPECT_EQ(allocator.asked, std::tuple(16, 0x2006, &allocator, &a4, &a5));
  EXPECT_EQ(words(table, 0, 8), "2 0 ");
  EXPECT_EQ(words(table->descriptors, 0, 112),
            "5f544947 4c4c5550 0 0 0 0 0 70001 42 0 0 0 52492 0 "
            "5f544947 48535550 0 0 0 0 0 70001 42 0 0 0 52492 0 ");

  allocator.allocate = [](auto...) -> void* { return nullptr; };
  for (const int mode : {0, 3, -1}) EXPECT_EQ(ask(mode), nullptr);
  log_.clear();
  host_.log().reset_sink();
  const auto ends = testing::ExitedWithCode(70);
  for (const int mode : {1, 2}) EXPECT_EXIT(ask(mode), ends, "out of memory. .* code 1016");
  EXPECT_EXIT(set_sysmsg(5), ends, "out of memory. .* code 1016");
  EXPECT_EXIT(xpselec(), ends, "slot 108 of vector 39, which this host does not provide");
}

TEST_F(Rooms, PublishReturnCodesAsMacroVariables) {
  const std::pair<unsigned, std::int64_t> rows[] = {{0x7FC00000, 0},
                                                    {0, 0},
                                                    {0x801, -1},
                                                    {0x40000801, -1},
                                                    {(3 << 11) | 7, -30007},
                                                    {0x803FFFFF, 20472047},
                                                    {0x80000801, 10001}};
  for (const auto& [bits, number] : rows) {
    const int code = static_cast<int>(bits);
    set_sysmsg(code);
    EXPECT_EQ(function_library->work_area->message_number, number) << code;
    EXPECT_EQ(host_.macros().get("SYSRC"), host::MacroVariables::Value(double(code)));
    const std::string text = code == 0 ? "" : host_.files().message(code);
    EXPECT_EQ(host_.macros().get("SYSMSG"), host::MacroVariables::Value(text));
  }
}

TEST_F(Rooms, DecodePasswordsInPlaceAndWipeTheRest) {
  const auto check = [this](const std::string& given, const std::optional<std::string>& expected) {
    std::string buffer = given + std::string(3 * given.size() + 1, '#');
    std::string after = expected.value_or(buffer);
    after.resize(buffer.size());
    std::size_t length = given.size();
    EXPECT_EQ(zkeldec(buffer.data(), &length) == 0, expected.has_value()) << given;
    EXPECT_EQ(length, expected.value_or(given).size());
    EXPECT_EQ(buffer, after);
    EXPECT_EQ(host_.pools().counters().pools, 0u);
  };
  for (const char* password : {"secret", ""}) check(host_.passwords().encode(password), password);
  for (const char* plain : {"secret", "", "{uwugit1}AAAA"}) check(plain, std::nullopt);

  // The host's own tables, which can be changed; only the module must not.
  auto** vectors = const_cast<const HostOperation**>(host_.control_block()->vectors);
  auto& decoder = const_cast<HostOperation&>(vectors[516][34]);
  static std::int64_t decoded_length;
  operation::omidcrp* decode = [](HostPool* pool, auto, auto, char** decoded,
                                  std::int64_t* length) {
    EXPECT_EQ(host::Host::current()->pools().describe()[0].name, "ZKELDEC");
    *decoded = static_cast<char*>(std::memset(pool->allocate(pool, 9, 0), 'd', 9));
    *length = decoded_length;
    return 0;
  };
  decoder = reinterpret_cast<HostOperation>(decode);
  for (const int length : {0, 8, 9, -1}) {
    decoded_length = length;
    const bool has_room = length >= 0 && length <= 8;
    check("ab", has_room ? std::optional(std::string(std::size_t(length), 'd')) : std::nullopt);
  }
  decoder = nullptr;
  check("secret", std::nullopt);
  vectors[516] = nullptr;
  check("secret", std::nullopt);
}

TEST_F(Rooms, RefuseALibgit2WhoseRecordsTheyDoNotKnow) {
  EXPECT_TRUE(is_supported_libgit2(make_git())) << "a library that does not tell its version";
  EXPECT_FALSE(refuses_null_arguments(make_git()));
  for (const int minor : {1, 2, 9}) {
    EXPECT_TRUE(is_supported_libgit2(make_git(1, minor, 1 << 10))) << minor;
    EXPECT_EQ(refuses_null_arguments(make_git(1, minor)), minor > 1) << minor;
  }
  host_.control_block()->services->load_module = [](auto...) { return make_git(); };
  for (const auto& [major, minor, features] :
       {std::tuple(1, 0, 0), {1, 10, 0}, {0, 5, 0}, {2, 5, 0}, {1, 8, 1 << 11}}) {
    make_git(major, minor, features);
    double result = 99;
    get_status(host::Arguments().text("repo").block(), &result);
    EXPECT_EQ(result, -1);
    EXPECT_EQ(log_.text(), "ERROR: libgit2 " + std::to_string(major) + "." + std::to_string(minor) +
                               ".3 cannot be used. " +
                               (features == 0 ? "Versions 1.1 to 1.9 are supported."
                                              : "Its commit ids have room for SHA-256, as in "
                                                "experimental builds and in versions after 1.9.") +
                               "\nERROR: Unable to load libgit2 module.\n");
    log_.clear();
  }
}

TEST_F(Rooms, ReportTheLastErrorOfAnyLibgit2) {
  static git_error error;
  made_up[L"git_error_last"] = address(+[]() -> const git_error* { return &error; });
  EXPECT_EQ(log_git_error(make_git()), -1) << "a record of class 0 is that of 1.8 without an error";
  char text[] = "what went wrong: %s %n";
  error = {text, 2};
  EXPECT_EQ(log_git_error(make_git()), 2);
  EXPECT_EQ(log_.text(),
            "ERROR: No detailed error info available.\n"
            "ERROR: Return code from GIT is (2). what went wrong: %s %n\n");
}

// The compiled records tell where the fields are; before 1.2 the payload lay elsewhere.
TEST_F(Rooms, PrepareTransfersOfEveryVersion) {
  const auto callback = reinterpret_cast<git_credential_acquire_cb>(0x1234);
  int payload = 0;
  TransferOptions options;
  static int answer;
  for (const auto& [transfer, init, callbacks_at] :
       {std::tuple(Transfer::kFetch, L"git_fetch_options_init",
                   offsetof(git_fetch_options, callbacks)),
        {Transfer::kPush, L"git_push_options_init", offsetof(git_push_options, callbacks)},
        {Transfer::kClone, L"git_clone_options_init",
         offsetof(git_clone_options, fetch_opts.callbacks)}}) {
    made_up[init] = address(+[](int* record, unsigned number) {
      *record = 40 + static_cast<int>(number);
      return answer;
    });
    const auto* callbacks = reinterpret_cast<git_remote_callbacks*>(options.bytes + callbacks_at);
    for (answer = 0; answer > -2; --answer) {
      for (const int minor : {1, 2}) {
        std::memset(&options, 0xEE, sizeof options);
        prepare_transfer(make_git(1, minor), transfer, &options, callback, &payload);
        EXPECT_EQ(options.bytes[0], answer == 0 ? 41 : 1) << "the library's own values, if it can";
        EXPECT_EQ(callbacks->version, answer == 0 ? 0 : 1);
        EXPECT_EQ(callbacks->credentials, callback);
        EXPECT_EQ(*(&callbacks->payload - (minor < 2)), &payload);
        EXPECT_EQ(options.bytes[sizeof options - 1], 0) << "room for later versions";
      }
    }
  }
}

}  // namespace
}  // namespace uwugit::test

// The rooms of the module from inside: strings, vector stubs, registration, passwords, messages,
// the status store, and what differs between versions of libgit2.
#include <gtest/gtest.h>

#include <cstring>

#include "module/bootstrap.h"
#include "module/password.h"
#include "module/registration.h"
#include "module/sysmsg.h"
#include "module/vector_stubs.h"
#include "store/log_objects.h"
#include "store/status_objects.h"
#include "support/sandbox.h"
#include "support/strings.h"
#include "uwugithost/host.h"

namespace uwugit::test {
namespace {

TEST(Strings, CompareWithTrailingBlanksInsignificant) {
  const struct {
    std::string left, right;
    int sign;
  } rows[] = {
      {"", "", 0},         {"", "  ", 0},          {"repo", "repo  ", 0},
      {"repo", "Repo", 1}, {"repo", "repo x", -1}, {"a", "a\t", 1},
      {"a", "b", -1},      {"\xff", "a", 1},       {"PATH", "PATHS", -1},
      {"a ", "a\x80", -1},
  };
  for (const auto& row : rows) {
    const auto compare = [](const std::string& a, const std::string& b) {
      const int order = wzstcom(a.data(), a.size(), b.data(), b.size());
      return (order > 0) - (order < 0);
    };
    EXPECT_EQ(compare(row.left, row.right), row.sign) << row.left << "|" << row.right;
    EXPECT_EQ(compare(row.right, row.left), -row.sign) << row.right << "|" << row.left;
  }
}

TEST(Strings, ConcatenateWithinTheirRoom) {
  for (std::size_t capacity = 0; capacity <= 8; ++capacity) {
    char text[16] = "ab";
    std::memset(text + 3, '#', sizeof text - 3);
    const std::size_t length = wzstcat(text, 2, capacity, "cdef", 4);
    EXPECT_EQ(length, std::clamp<std::size_t>(capacity - (capacity > 0), 2, 6)) << capacity;
    EXPECT_EQ(std::string_view(text, length), std::string_view("abcdef", length));
    EXPECT_EQ(text[length], '\0');
    EXPECT_EQ(text[std::max<std::size_t>(capacity, 3)], '#')
        << "nothing behind the room is touched";
  }
  EXPECT_EQ(wzstlen(nullptr), 0u);
}

TEST(Strings, WriteNumbersRightJustified) {
  const struct {
    std::int64_t number;
    std::size_t width;
    const char* expected;
  } rows[] = {{0, 1, "0"},          {1700000000, 20, "          1700000000"},
              {-5, 4, "  -5"},      {12345, 5, "12345"},
              {123456, 5, "*****"}, {-1, 1, "*"},
              {1, 0, ""},           {INT64_MIN, 20, "-9223372036854775808"}};
  for (const auto& row : rows) {
    std::string field(row.width, '#');
    wzclchr(row.number, field.data(), row.width);
    EXPECT_EQ(field, row.expected);
  }
}

// A control block of its own, to see what the stubs do to it.
struct SeenCall {
  std::uint64_t identity;
  unsigned char operation_state;
  int a, b, c, d, e, f, g;
  double x;
} seen;
HostTaskBlock task;

// Keeps the identity before any compiled code runs, then goes on as the operation.
extern "C" {
std::uint64_t seen_identity;
void keep_identity();
void seen_operation(const char*, int a, int b, int c, int d, int e, int f, int g, double x) {
  seen = {seen_identity, task.operation_state, a, b, c, d, e, f, g, x};
}
}
#if defined(__x86_64__)
asm(".globl keep_identity\n keep_identity: movq %r10, seen_identity(%rip)\n jmp seen_operation");
#else
asm(".globl keep_identity\n keep_identity: adrp x16, seen_identity\n"
    "str x17, [x16, :lo12:seen_identity]\n b seen_operation");
#endif

TEST(Stubs, PassEveryArgumentThroughAndTellTheirIdentity) {
  static HostOperation slots[512] = {};
  static const HostOperation* vectors[520] = {};
  slots[89] = keep_identity;
  vectors[39] = slots;
  HostControlBlock gcb{};
  gcb.vectors = vectors;
  gcb.task = &task;
  task.operation_state = 0xFF;
  v_global_gcb_anchor = &gcb;
  xpslog("%1z", 1, 2, 3, 4, 5, 6, 7, 8.5);
  EXPECT_EQ(seen.identity, (std::uint64_t{39} << 32) | 89);
  EXPECT_EQ(seen.operation_state, 0);
  EXPECT_EQ(seen.a + 10 * seen.b + 100 * seen.c + 1000 * seen.d + 10000 * seen.e + 100000 * seen.f,
            654321);
  EXPECT_EQ(seen.g, 7);
  EXPECT_EQ(seen.x, 8.5);
}

// The rest has a real host around it.
class Rooms : public testing::Test {
 protected:
  Rooms() { information_ = mcn_main(host_.control_block(), nullptr); }

  Sandbox sandbox_;
  host::Host host_{{}};
  host::LogCapture log_{host_.log()};
  const ModuleInformation* information_;
};

TEST_F(Rooms, DescribeTheModule) {
  EXPECT_EQ(v_global_gcb_anchor, host_.control_block());
  EXPECT_EQ(Exported_TKHandle, host_.control_block()->services);
  const auto bytes = [this](std::size_t offset, std::size_t size) {
    return std::string(reinterpret_cast<const char*>(information_) + offset, size);
  };
  EXPECT_EQ(bytes(0, 24), std::string("KEL_Image_Information=\0\0", 24));
  EXPECT_EQ(bytes(24, 16), std::string("\xED\xEB\xBD\xB0\0\0\0\0\x8\0\0\0\0\0\0\0", 16));
  EXPECT_EQ(bytes(80, 16), std::string(16, '\0'));
  EXPECT_EQ(bytes(112, 8), std::string("001\0\0\0\0\0", 8));
  const ProgramName* const* programs = information_->programs;
  EXPECT_STREQ(programs[0]->name, "uwugit_p");
  EXPECT_EQ(programs[0]->entry, reinterpret_cast<void*>(uwugit_p));
  EXPECT_EQ(programs[1], nullptr);
  const std::uint64_t bookkeeping[] = {0xFFFFFFFFFFFF0000, 1024, 1024, 1, 9683, 37851260, 15};
  const std::size_t offsets[] = {0, 8, 16, 48, 56, 64, 72};
  for (std::size_t i = 0; i < std::size(offsets); ++i) {
    std::uint64_t word;
    std::memcpy(&word, reinterpret_cast<const char*>(programs[0]) + offsets[i], sizeof word);
    EXPECT_EQ(word, bookkeeping[i]) << offsets[i];
  }
}

struct CountingAllocator : HostAllocator {
  int calls = 0;
  std::uint64_t flags = 0;
  void *again = nullptr, *a4 = nullptr, *a5 = nullptr;
};

TEST_F(Rooms, RegisterPullAndPush) {
  CountingAllocator allocator;
  static std::uint64_t memory[8];
  allocator.allocate = [](HostAllocator* self, std::size_t bytes, std::uint64_t flags,
                          HostAllocator* again, void* a4, void* a5) -> void* {
    auto* counting = static_cast<CountingAllocator*>(self);
    ++counting->calls;
    counting->flags = flags;
    counting->again = again;
    counting->a4 = a4;
    counting->a5 = a5;
    std::memset(memory, 0xEE, sizeof memory);
    EXPECT_LE(bytes, sizeof memory);
    return memory;
  };
  host_.control_block()->allocator = &allocator;
  int a4 = 0, a5 = 0;
  const auto* table =
      static_cast<DescriptorBlock*>(uwugit_p(1, nullptr, nullptr, nullptr, &a4, &a5));
  EXPECT_EQ(allocator.flags, 0x2006u);
  EXPECT_EQ(allocator.again, &allocator);
  EXPECT_EQ(allocator.a4, &a4);
  EXPECT_EQ(allocator.a5, &a5);
  ASSERT_EQ(table->count, 2u);
  const char* names[] = {"GIT_PULL", "GIT_PUSH"};
  for (int i = 0; i < 2; ++i) {
    char row[56] = {};
    std::strcpy(row, names[i]);
    row[28] = 1;
    row[30] = 7;
    row[32] = 'B';
    std::memcpy(row + 48, "\x92\x24\x05\x00", 4);
    EXPECT_EQ(std::memcmp(&table->descriptors[i], row, sizeof row), 0) << i;
  }
  const auto* words = static_cast<HostFunction**>(uwugit_p(2, nullptr, nullptr, nullptr, &a4, &a5));
  EXPECT_EQ(words[1], do_pull);
  EXPECT_EQ(words[2], do_push);
  EXPECT_EQ(memory[0], 0xEEEEEEEEEEEEEEEE) << "the first word is the host's";
  for (const int mode : {0, 3, -1})
    EXPECT_EQ(uwugit_p(mode, nullptr, nullptr, nullptr, &a4, &a5), nullptr);
  EXPECT_EQ(allocator.calls, 2);
}

TEST_F(Rooms, EndTheRunWhenTheHostHasNoMemory) {
  HostAllocator empty{[](HostAllocator*, std::size_t, std::uint64_t, HostAllocator*, void*,
                         void*) -> void* { return nullptr; }};
  host_.control_block()->allocator = &empty;
  host_.log().reset_sink();
  const char* message = "ERROR: The module ran out of memory. The run ends with code 1016.";
  EXPECT_EXIT(uwugit_p(1, nullptr, nullptr, nullptr, nullptr, nullptr), testing::ExitedWithCode(70),
              message);
  EXPECT_EXIT(set_sysmsg(5), testing::ExitedWithCode(70), message);
}

TEST_F(Rooms, PublishReturnCodesAsMacroVariables) {
  const struct {
    int code;
    std::int64_t number;
  } rows[] = {{0, 0},
              {0x00400000, 0},
              {0x801, -1},
              {0x40000801, -1},
              {(3 << 11) | 7, -30007},
              {static_cast<int>(0x80000000u | (3 << 11) | 7), 30007}};
  for (const auto& row : rows) {
    set_sysmsg(row.code);
    EXPECT_EQ(function_library->work_area->message_number, row.number) << row.code;
    EXPECT_EQ(host_.macros().get("SYSRC"), host::MacroVariables::Value(double(row.code)));
    const auto text = std::get<std::string>(*host_.macros().get("SYSMSG"));
    EXPECT_EQ(text.empty(), row.code == 0);
  }
}

TEST_F(Rooms, DecodePasswordsInPlaceAndWipeTheRest) {
  const auto decode = [](const std::string& text) {
    std::vector<char> buffer(kDecodedGrowth * text.size() + 1, '#');
    std::memcpy(buffer.data(), text.data(), text.size());
    std::size_t length = text.size();
    const int status = zkeldec(buffer.data(), &length);
    return std::tuple(
        status, std::string(buffer.data(), length),
        std::string(buffer.begin() + static_cast<std::ptrdiff_t>(length), buffer.end()));
  };
  for (const std::string password : {"secret", "", "p%ss \xffw"}) {
    const auto [status, text, rest] = decode(host_.passwords().encode(password));
    EXPECT_EQ(status, 0);
    EXPECT_EQ(text, password);
    EXPECT_EQ(rest, std::string(rest.size(), '\0')) << "the encoded form is gone";
  }
  for (const char* plain : {"secret", "", "{uwugit1}", "{uwugit1}notbase64!", "{uwugit1}AAAA"}) {
    const auto [status, text, rest] = decode(plain);
    EXPECT_NE(status, 0) << plain;
    EXPECT_EQ(text, plain);
  }
  EXPECT_EQ(host_.pools().counters().pools, 0u);

  auto vectors = std::vector<const HostOperation*>(1024);
  std::copy_n(host_.control_block()->vectors, 1024, vectors.begin());
  const HostOperation* const* before =
      std::exchange(host_.control_block()->vectors, vectors.data());
  static const HostOperation empty[512] = {};
  for (const HostOperation* vector : {static_cast<const HostOperation*>(nullptr), empty}) {
    vectors[516] = vector;
    EXPECT_NE(std::get<0>(decode("secret")), 0) << "a host without a decoder";
  }
  host_.control_block()->vectors = before;
}

TEST_F(Rooms, KeepStatusObjectsInOrder) {
  RepoStatus* b = insertRepoStatusAtTail("b");
  RepoStatus* c = insertRepoStatusAtTail("c");
  RepoStatus* a = insertRepoStatusAtHead("a");
  EXPECT_EQ(headStatus, a);
  EXPECT_EQ(a->next, b);
  EXPECT_EQ(c->prev, b);
  EXPECT_EQ(findRepoStatusObject("b  "), b);
  EXPECT_EQ(findRepoStatusObject("B"), nullptr);

  workingRepoStatus = b;
  insertGitStatusEntryAtHead("two", "new", kStaged);
  insertGitStatusEntryAtTail("three", "new", kStaged);
  EXPECT_STREQ(status_entry(b, 1)->path, "two");
  insertGitStatusEntryAtHead("one", "new", kNotStaged);
  const char* expected[] = {"one", "two", "three"};
  for (int i = 1; i <= 3; ++i) EXPECT_STREQ(status_entry(b, i)->path, expected[i - 1]);
  EXPECT_EQ(status_entry(b, 4), nullptr);
  EXPECT_EQ(status_entry(b, 0), nullptr);

  EXPECT_EQ(free_repo_status("b"), 0);
  EXPECT_EQ(workingRepoStatus, nullptr);
  EXPECT_EQ(a->next, c);
  EXPECT_EQ(c->prev, a);
  EXPECT_EQ(free_repo_status("a"), 0);
  EXPECT_EQ(headStatus, c);
  EXPECT_EQ(free_repo_status("none"), 1);
  c->pool->destroy = [](HostPool*) { return 1; };
  EXPECT_EQ(free_repo_status("c"), -2);
  EXPECT_EQ(headStatus, nullptr);
}

// A node put at the head is linked in front of the first and does not become it, and a list begun
// that way has no last node.
TEST_F(Rooms, KeepTheHeadOfALogWhereItIs) {
  RepoLog* log = insertRepoLogAtTail(host_.pools().create("log"), "repo");
  workingRepoLogObject = log;
  CommitGraphNode first{}, second{}, third{}, front{};
  insertCommitGraphNodeAtHead(&first);
  insertCommitGraphNodeAtTail(&second);
  insertCommitGraphNodeAtTail(&third);
  insertCommitGraphNodeAtHead(&front);
  EXPECT_EQ(log->first, &first);
  EXPECT_EQ(log->last, nullptr);
  EXPECT_EQ(first.prev, &front);
  EXPECT_EQ(front.next, &first);
  EXPECT_EQ(log_entry(log, 3), &third);
  EXPECT_EQ(log_entry(log, 4), nullptr);
  EXPECT_EQ(free_repo_log("repo"), 0);
  EXPECT_EQ(free_repo_log("repo"), 0) << "also when there is none";
  EXPECT_EQ(headLogObject, nullptr);
}

}  // namespace
}  // namespace uwugit::test

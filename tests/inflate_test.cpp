// The companion's inflate beside zlib's own: the same bytes, the same counters, the same answers,
// whatever the stream, the damage and the room.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <random>

#include "support/module_test.h"

namespace uwugit::test {
namespace {

using Inflate = decltype(&inflate);

template <class Function>
Function find(const fs::path& library, const char* name) {
  void* opened = dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
  return reinterpret_cast<Function>(opened ? dlsym(opened, name) : nullptr);
}

const fs::path kZlib = "libz.so.1";

std::string deflated(const std::string& content, int level) {
  static const auto bound = find<decltype(&compressBound)>(kZlib, "compressBound");
  static const auto deflate = find<decltype(&compress2)>(kZlib, "compress2");
  uLong size = bound(content.size());
  std::string stream(size, '\0');
  deflate(reinterpret_cast<Bytef*>(stream.data()), &size,
          reinterpret_cast<const Bytef*>(content.data()), content.size(), level);
  stream.resize(size);
  return stream;
}

// What unpacking gives, with so much room for each call: the answers of all calls, the counters and
// the bytes.
std::string unpacked(Inflate with, std::string stream, std::size_t size, std::size_t step) {
  static const auto init = find<decltype(&inflateInit_)>(kZlib, "inflateInit_");
  static const auto end = find<decltype(&inflateEnd)>(kZlib, "inflateEnd");
  std::string content(size, '.');
  z_stream record = {};
  init(&record, ZLIB_VERSION, sizeof record);
  record.next_in = reinterpret_cast<Bytef*>(stream.data());
  record.avail_in = static_cast<uInt>(stream.size());
  std::string answers;
  int code = Z_OK;
  for (std::size_t done = 0; code == Z_OK && done < size; done = record.total_out) {
    const std::size_t room = std::min(step, size - done);
    record.next_out = reinterpret_cast<Bytef*>(content.data()) + done;
    record.avail_out = static_cast<uInt>(room);
    code = with(&record, Z_NO_FLUSH);
    answers += std::to_string(code) + " with " + std::to_string(record.avail_out) + " left, ";
  }
  answers += std::to_string(record.total_in) + " to " + std::to_string(record.total_out) + ", " +
             std::to_string(record.avail_in) + " not read: ";
  content.resize(record.total_out);
  end(&record);
  return answers + content;
}

std::string noise(std::size_t size, unsigned letters) {
  static std::mt19937 random(1);
  std::string text(size, '\0');
  for (char& c : text) c = static_cast<char>(random() % letters);
  return text;
}

TEST(Inflate, AnswersAsZlibDoes) {
  const auto own = find<Inflate>(kLibraryFolder / "libgit2.so", "inflate");
  const auto plain = find<Inflate>(kZlib, "inflate");
  ASSERT_TRUE(own && plain && own != plain);
  for (const std::size_t size : {0u, 1u, 63u, 64u, 65u, 300u, 5000u, 70'000u}) {
    for (const unsigned letters : {1u, 5u, 256u}) {
      const std::string content = noise(size, letters);
      for (const int level : {0, 1, 9}) {
        const std::string whole = deflated(content, level);
        std::string flipped = whole;
        flipped[whole.size() / 2] ^= 0x10;
        std::string wrong_sum = whole;
        wrong_sum.back() ^= 1;
        const std::pair<const char*, std::string> streams[] = {
            {"whole", whole},
            {"with more behind it", whole + noise(100, 256)},
            {"cut", whole.substr(0, whole.size() - 3)},
            {"damaged", flipped},
            {"with a wrong checksum", wrong_sum}};
        for (const auto& [name, stream] : streams) {
          for (const std::size_t room : {size, size + 1, size + 100, size / 2}) {
            for (const std::size_t step : {room, std::size_t{100}}) {
              if (step == 0) continue;
              const std::string expected = unpacked(plain, stream, room, step);
              ASSERT_TRUE(unpacked(own, stream, room, step) == expected)
                  << name << ": " << size << " bytes of " << letters << " letters, level " << level
                  << ", room for " << room << ", " << step << " a call";
            }
          }
        }
      }
    }
  }
}

}  // namespace
}  // namespace uwugit::test

#include "raw_log.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <unordered_map>

namespace uwugit::bench {
namespace {

constexpr std::size_t kMessage = 494;

// One commit of a fast-import stream; its texts take 600 bytes.
void write_commit(std::ostream& stream, int mark, const std::string& branch, int parent,
                  int second_parent) {
  const std::string number = std::to_string(1'000'000 + mark % 50);
  std::string message = "Commit " + std::to_string(mark) + ": ";
  while (message.size() < kMessage) message += "words that tell what was changed and why. ";
  message.resize(kMessage);
  const std::string time = std::to_string(1'000'000'000 + mark * 60) + " +0000\n";
  stream << "commit refs/heads/" << branch << "\nmark :" << mark << "\nauthor Author Number "
         << number << " <author" << number << "@example.org> " << time << "committer Committer "
         << number << " <committer" << number << "@example.org> " << time << "data "
         << message.size() << "\n"
         << message << "\n";
  if (parent > 0) stream << "from :" << parent << "\n";
  if (second_parent > 0) stream << "merge :" << second_parent << "\n";
  stream << "\n";
}

fs::path import(const std::string& name, const std::function<void(std::ostream&)>& write) {
  fs::path repo = work_folder() / name;
  fs::create_directory(repo);
  git(repo, {"init", "--quiet", "--initial-branch=main"});
  const fs::path file = work_folder() / "stream";
  std::ofstream stream(file);
  write(stream);
  stream.close();
  git(repo, {"-c", "alias.load=!git fast-import --quiet < " + file.string(), "load"});
  git(repo, {"pack-refs", "--all"});
  fs::remove(file);
  return repo;
}

struct IdHash {
  std::size_t operator()(const git_oid& oid) const {
    std::size_t hash;
    std::memcpy(&hash, oid.id, sizeof hash);
    return hash;
  }
};
struct SameId {
  bool operator()(const git_oid& a, const git_oid& b) const {
    return std::memcmp(a.id, b.id, sizeof a.id) == 0;
  }
};
std::string hexadecimal(const git_oid& oid) {
  char text[41];
  return git_oid_tostr(text, sizeof text, &oid);
}

}  // namespace

const fs::path& history(int commits) {
  static std::map<int, fs::path> made;
  fs::path& repo = made[commits];
  if (!repo.empty()) return repo;
  return repo = import("history-" + std::to_string(commits), [&](std::ostream& stream) {
           int main = 0;
           for (int mark = 1; mark <= commits; ++mark) {
             const bool has_side = mark % 10 == 8 && mark < commits - 1;
             write_commit(stream, mark, "main", main, 0);
             main = mark;
             if (!has_side) continue;
             write_commit(stream, mark + 1, "side", mark - 1, 0);
             write_commit(stream, mark + 2, "main", mark, mark + 1);
             main = mark += 2;
           }
           stream << "reset refs/heads/side\nfrom :" << main << "\n\n";
         });
}

const fs::path& branches(int tips) {
  static const fs::path repo = import("branches", [tips](std::ostream& stream) {
    write_commit(stream, 1, "main", 0, 0);
    for (int i = 0; i < tips; ++i) write_commit(stream, 2 + i, "b" + std::to_string(i), 1, 0);
    for (int i = 0; i < tips; ++i) {
      write_commit(stream, 2 + tips + i, "b" + std::to_string(i), 2 + i, 0);
    }
  });
  return repo;
}

RawLog raw_log(const char* path) {
  RawLog log;
  std::unordered_map<git_oid, std::unique_ptr<RawCommit>, IdHash, SameId> pending;
  raw_walk(path, [&](const git_oid& oid, const git_commit* commit, const git_oid& stash,
                     const git_oid& head) {
    std::unique_ptr<RawCommit> made;
    if (const auto found = pending.find(oid); found != pending.end()) {
      made = std::move(found->second);
      pending.erase(found);
    } else {
      made = std::make_unique<RawCommit>();
      made->id = hexadecimal(oid);
    }
    RawCommit* it = made.get();
    it->is_stash = SameId{}(oid, stash);
    if (SameId{}(oid, head)) it->state = 1;
    if (it->state == -1) it->state = 0;
    it->message = git_commit_message(commit);
    it->author = git_commit_author(commit)->name;
    it->email = git_commit_author(commit)->email;
    it->committer = git_commit_committer(commit)->name;
    it->committer_email = git_commit_committer(commit)->email;
    it->time = git_commit_time(commit);
    const unsigned parents = git_commit_parentcount(commit);
    it->parents.reserve(parents);
    for (unsigned i = 0; i < parents; ++i) {
      const git_oid& parent_id = *git_commit_parent_id(commit, i);
      std::unique_ptr<RawCommit>& parent = pending[parent_id];
      if (!parent) {
        parent = std::make_unique<RawCommit>();
        parent->id = hexadecimal(parent_id);
      }
      it->parents.push_back(parent.get());
      parent->children.push_back(it);
      parent->state = std::max(parent->state, it->state);
    }
    log.push_back(std::move(made));
  });
  return log;
}

}  // namespace uwugit::bench

-- A day with a feature branch: branch, commit, put work aside, merge with a conflict, resolve.
--
--     uwugit run examples/feature.lua

local repo = host.temporary_folder()
local name, email = "Ada Example", "ada@example.org"

-- Runs git itself: to make the repository, and to show what became of it.
local function run_git(...)
  local status, output = host.run("git", "-C", repo, ...)
  assert(status == 0, output)
  return (output:gsub("\n$", ""))
end

local function write(file, text)
  local stream = assert(io.open(repo .. "/" .. file, "w"))
  stream:write(text)
  stream:close()
end

local function show(file)
  for line in io.lines(repo .. "/" .. file) do print("    " .. line) end
end

local function must(code, expected, what)
  assert(code == expected, what .. " answered " .. tostring(code))
end

-- Commits one file as it is now; a second parent makes a merge commit.
local function commit(message, file, second_parent)
  must(git.add_files_to_index(repo, file, "MODIFIED"), 0, "add_files_to_index")
  local before = run_git("rev-list", "--all", "--count")
  if second_parent then
    must(git.do_commit(repo, "HEAD", name, email, message, second_parent), 0, "do_commit")
  else
    must(git.do_commit(repo, "HEAD", name, email, message), 0, "do_commit")
  end
  -- do_commit answers 0 also when the creation failed.
  assert(run_git("rev-list", "--all", "--count") ~= before, "no commit was made")
end

local function changed_files()
  local count = git.get_status(repo)
  must(git.free_status_objects(repo), 0, "free_status_objects")
  return count
end

run_git("init", "--quiet", "--initial-branch=main")
write("menu.txt", "soup\nbread\n")
commit("Write the menu", "menu.txt")

print("A branch for the feature starts at HEAD and is checked out.")
must(git.create_branch(repo, "HEAD", "feature/dessert", 0), 0, "create_branch")
must(git.checkout_branch(repo, "feature/dessert"), 0, "checkout_branch")
write("menu.txt", "soup\nbread and butter\ncake\n")
commit("Add a dessert", "menu.txt")

print("\nHalf of the next change is written when main needs a correction: the work is put aside.")
write("menu.txt", "soup\nbread and butter\ncake\ncoffee, maybe\n")
must(git.stash(repo, name, email), 0, "stash")
must(git.checkout_branch(repo, "main"), 0, "checkout_branch")
write("menu.txt", "soup\nfresh bread\n")
commit("Tell that the bread is fresh", "menu.txt")
must(git.checkout_branch(repo, "feature/dessert"), 0, "checkout_branch")

print("\nBack on the branch the work is applied, looked at, and only then dropped from the stash:")
print("stash_pop would drop it even if a file could not be brought back.")
must(git.stash_apply(repo), 0, "stash_apply")
must(changed_files(), 1, "get_status")
must(git.stash_drop(repo), 0, "stash_drop")
write("menu.txt", "soup\nbread and butter\ncake\ncoffee\n")
commit("Add coffee", "menu.txt")

print("\nOn main, the merge finds that both sides changed the bread.")
must(git.checkout_branch(repo, "main"), 0, "checkout_branch")
must(git.merge_branch(repo, "feature/dessert", name, email), -2, "merge_branch")
show("menu.txt")

print("\nThe file is put right, staged, and committed with the branch as second parent.")
write("menu.txt", "soup\nfresh bread and butter\ncake\ncoffee\n")
commit("Merge the dessert", "menu.txt", run_git("rev-parse", "feature/dessert"))
print(run_git("log", "--graph", "--format=%s", "main"))
must(git.delete_branch(repo, "feature/dessert"), 0, "delete_branch")

print("\nA branch that is only ahead is fast-forwarded. The return code then stays as it was, which")
print("programs see as \"unchanged\": HEAD tells that it has moved.")
must(git.create_branch(repo, "HEAD", "feature/tea", 0), 0, "create_branch")
must(git.checkout_branch(repo, "feature/tea"), 0, "checkout_branch")
write("menu.txt", "soup\nfresh bread and butter\ncake\ncoffee or tea\n")
commit("Offer tea", "menu.txt")
must(git.checkout_branch(repo, "main"), 0, "checkout_branch")
must(git.merge_branch(repo, "feature/tea", name, email), "unchanged", "merge_branch")
assert(run_git("rev-parse", "main") == run_git("rev-parse", "feature/tea"), "main has not moved")
must(git.merge_branch(repo, "feature/tea", name, email), 1, "merge_branch")
show("menu.txt")
must(changed_files(), 0, "get_status")

host.remove(repo)

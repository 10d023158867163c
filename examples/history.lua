-- The history of a repository: makes one with merges, a tag and a stash, reads it into a commit log
-- through the module and shows it as a small table.

local function say(text) print("\n" .. text) end

local folder = host.temporary_folder()
local repo = folder .. "/project"
local clock = 1700000000

-- Every commit is a minute later than the one before.
local function git_command(...)
  clock = clock + 60
  local date = "GIT_COMMITTER_DATE=" .. clock .. " +0000"
  local status, output = host.run("env", date, "git", "-C", repo, "-c", "user.name=Ada",
                                  "-c", "user.email=ada@example.org", ...)
  assert(status == 0, output)
  return output
end

local function commit(message)
  git_command("commit", "--quiet", "--allow-empty", "--message", message)
end

say("First a repository with some history, made with the git command line in " .. repo .. ":")
host.run("git", "init", "--quiet", "--initial-branch", "main", repo)
commit("Start")
git_command("branch", "charts")
git_command("branch", "tables")
commit("Describe the project")
git_command("switch", "--quiet", "charts")
commit("Draw a chart")
git_command("switch", "--quiet", "tables")
commit("Print a table")
git_command("switch", "--quiet", "main")
git_command("merge", "--quiet", "--no-ff", "--message", "Merge charts and tables", "charts", "tables")
git_command("switch", "--quiet", "--create", "idea")
commit("Try an idea")
git_command("tag", "keep-in-mind")
git_command("switch", "--quiet", "main")
git_command("branch", "--delete", "--force", "idea")
commit("Release")
local file = assert(io.open(repo .. "/draft.txt", "w"))
file:write("not finished\n")
file:close()
git_command("add", "draft.txt")
git_command("stash")
print("  three branches merged into one, a tag on a commit that no branch has, and a stash")

say("git.get_commit_log walks all of it: from HEAD, the branches, the tags and the latest stash.")
local count = git.get_commit_log(repo)
assert(count ~= "unchanged" and count > 0, "the history could not be read")
print("  commits: " .. count)

local function read(number, attribute)
  local _, value = git.get_commit_attribute(number, repo, attribute)
  return value
end

-- "abc…,def…" as short ids.
local function short(ids)
  local words = {}
  for id in ids:gmatch("%x+") do words[#words + 1] = id:sub(1, 7) end
  return table.concat(words, " ")
end

say("Every commit stands before its parents, and otherwise the newest comes first. \"*\" marks what\n"
    .. "lies on the current branch, \"S\" the stash:")
print(string.format("  %2s    %-7s  %-16s  %-24s %-24s %s", "no", "ID", "TIME", "PARENT_IDS",
                    "CHILDREN_IDS", "MESSAGE"))
for number = 1, count do
  local mark = read(number, "STASH") == "TRUE" and "S"
               or read(number, "IN_CURRENT_BRANCH") == "TRUE" and "*" or " "
  local time = os.date("!%Y-%m-%d %H:%M", tonumber(read(number, "TIME")))
  print(string.format("  %2d  %s %-7s  %s  %-24s %-24s %s", number, mark,
                      short(read(number, "ID")), time, short(read(number, "PARENT_IDS")),
                      short(read(number, "CHILDREN_IDS")), read(number, "MESSAGE"):match("[^\n]*")))
end
print("  The merge has three parents, the first commit three children. The idea is there by its tag\n"
      .. "  alone, and off the current branch. A stash is a commit on two others: HEAD of the time and\n"
      .. "  the index.")

say("How many commits has the current branch, by the module and by git?")
local in_branch = 0
for number = 1, count do
  if read(number, "IN_CURRENT_BRANCH") == "TRUE" then in_branch = in_branch + 1 end
end
local by_git = tonumber(git_command("rev-list", "--count", "HEAD"))
print("  " .. in_branch .. " and " .. by_git)
assert(in_branch == by_git, "the two differ")

say("A number without a commit, and an attribute that does not exist, give nothing:")
print("  \"" .. read(count + 1, "ID") .. "\" and \"" .. read(1, "NICKNAME") .. "\"")

say("At the end the commit log is discarded, and so is the repository.")
print("  code: " .. git.free_commit_objects(repo))
host.remove(folder)

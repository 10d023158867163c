-- Staging, unstaging and committing in a repository of this program's own.
--
--     uwugit run examples/commit.lua

local repo = host.temporary_folder()

-- Runs git itself: to make the repository, and to show what became of it.
local function run_git(...)
  local status, output = host.run("git", "-C", repo, ...)
  assert(status == 0, output)
  return (output:gsub("\n$", ""))
end

local function write(name, text)
  local file = assert(io.open(repo .. "/" .. name, "w"))
  file:write(text)
  file:close()
end

local function must(code, what)
  assert(code == 0, what .. " answered " .. tostring(code))
end

-- do_commit answers 0 also when the creation failed, so the reference tells whether there is a new
-- commit. An unborn branch has no id: that is the empty text.
local function commit(message)
  local function head()
    local status, output = host.run("git", "-C", repo, "rev-parse", "--verify", "--quiet", "HEAD")
    return status == 0 and output or ""
  end
  local before = head()
  must(git.do_commit(repo, "HEAD", "Ada Example", "ada@example.org", message), "do_commit")
  assert(head() ~= before, "no commit was made")
  print("committed: " .. run_git("log", "-1", "--format=%s, by %an"))
end

-- Stages everything that get_status reports, with the status word that it gave.
local function stage_all()
  local count = git.get_status(repo)
  assert(count ~= "unchanged" and count >= 0, "get_status failed")
  local files = {}
  for i = 1, count do
    local _, path = git.get_status_attribute(i, repo, "PATH")
    local _, status = git.get_status_attribute(i, repo, "STATUS")
    -- A call for each file, since one call for all of them would answer for the last only.
    must(git.add_files_to_index(repo, path, status), "staging " .. path)
    files[i] = path .. " (" .. status .. ")"
  end
  must(git.free_status_objects(repo), "free_status_objects")
  print("staged: " .. table.concat(files, ", "))
end

run_git("init", "--quiet", "--initial-branch=main")
print("An empty repository. Two files are written, staged by their status and committed.")
write("plan.txt", "measure\n")
write("old.txt", "superseded\n")
stage_all()
commit("Start")

print("\nOne file is changed, one deleted, one new. All are staged.")
write("plan.txt", "measure\ncompare\n")
write("draft.txt", "not ready\n")
os.remove(repo .. "/old.txt")
stage_all()

print("\nThe draft is not ready: it is unstaged, and stays in the working tree.")
must(git.remove_files_from_index(repo, "draft.txt"), "remove_files_from_index")
commit("Compare, and drop what is superseded")

print("\nWhat the commit changed, and what was left out:")
print(run_git("show", "--name-status", "--format="))
print(run_git("status", "--porcelain"))

host.remove(repo)

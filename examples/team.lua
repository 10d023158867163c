-- Two people and one remote repository: push, pull, conflict, resolve.
--
--     uwugit run examples/team.lua

local folder = host.temporary_folder()
local remote = folder .. "/remote.git"

-- Runs git itself: to make the remote, and to show what became of it all.
local function run_git(...)
  local status, output = host.run("git", ...)
  assert(status == 0, output)
  return (output:gsub("\n$", ""))
end

local function expect(wanted, code, what)
  assert(code == wanted, what .. " answered " .. tostring(code) .. " instead of " .. wanted)
end

local function write(repo, name, text)
  local file = assert(io.open(repo .. "/" .. name, "w"))
  file:write(text)
  file:close()
end

local function read(repo, name)
  local file = assert(io.open(repo .. "/" .. name))
  local text = file:read("a")
  file:close()
  return text
end

local function commit(repo, person, name, status, text, message)
  write(repo, name, text)
  expect(0, git.add_files_to_index(repo, name, status), "add_files_to_index")
  expect(0, git.do_commit(repo, "HEAD", person, person:lower() .. "@example.org", message), "do_commit")
end

-- do_push answers 0 also when a hook of the server refuses the branch; the remote-tracking branch
-- is the branch itself only after a push that was accepted.
local function push(repo)
  expect(0, git.do_push(repo), "do_push")
  local here, there = run_git("-C", repo, "rev-parse", "main"), run_git("-C", repo, "rev-parse", "origin/main")
  assert(here == there, "the server did not take the branch")
end

run_git("init", "--quiet", "--bare", "--initial-branch=main", remote)
local ada, ben = folder .. "/ada", folder .. "/ben"

print("Ada starts the project, connects it to the remote and pushes it.")
expect(0, git.init_repo(ada, "main", remote), "init_repo")
commit(ada, "Ada", "plan.txt", "new", "measure\n", "Start")
push(ada)

print("Ben clones it, adds a file and pushes.")
expect(0, git.do_clone(remote, ben), "do_clone")
commit(ben, "Ben", "notes.txt", "new", "ask Ada\n", "Take notes")
push(ben)

print("Ada has nothing of her own: her pull moves the branch on.")
expect(0, git.do_pull(ada), "do_pull")
expect(1, git.do_pull(ada), "a second do_pull")

print("\nNow both change different files. Ben is first; Ada's push is refused until she has pulled.")
commit(ben, "Ben", "notes.txt", "modified", "ask Ada about the plan\n", "Be precise")
push(ben)
commit(ada, "Ada", "readme.txt", "new", "See plan.txt.\n", "Add a readme")
assert(git.do_push(ada) ~= 0, "the push should have been refused")
expect(0, git.do_pull(ada), "do_pull")
push(ada)

print("\nThen both change the same line. Ada is first.")
expect(0, git.do_pull(ben), "do_pull")
commit(ada, "Ada", "plan.txt", "modified", "measure twice\n", "Measure twice")
push(ada)
commit(ben, "Ben", "plan.txt", "modified", "measure and cut\n", "Cut")
expect(-2, git.do_pull(ben), "do_pull")
print("Ben's pull answers -2: the file holds both texts.")
print(read(ben, "plan.txt"))

-- No merge is in progress after a conflict, so a commit made now has one parent, and the next pull
-- would meet the same conflict. It does not once our side says what theirs says.
print("Ben takes Ada's text, pulls again, and writes what both of them meant on top of it.")
local theirs = run_git("-C", ben, "show", "origin/main:plan.txt") .. "\n"
commit(ben, "Ben", "plan.txt", "modified", theirs, "Take Ada's plan")
expect(0, git.do_pull(ben), "do_pull")
commit(ben, "Ben", "plan.txt", "modified", "measure twice and cut\n", "Measure twice and cut")
push(ben)
expect(0, git.do_pull(ada), "do_pull")
print("Ada pulls, and has it too: " .. read(ada, "plan.txt"))

print(run_git("-C", ada, "log", "--graph", "--format=%s (%an)"))
expect(0, git.delete_repo(ada), "delete_repo")
expect(0, git.delete_repo(ben), "delete_repo")
host.remove(folder)

-- Two people and one remote repository: push, pull, conflict, resolve.
--
--     uwugit run examples/team.lua

local folder = host.temporary_folder()
local remote = folder .. "/remote.git"
assert(host.run("git", "init", "--quiet", "--bare", "--initial-branch=main", remote) == 0)

local function commit(repo, person, name, text, message)
  assert(io.open(repo.path .. "/" .. name, "w")):write(text):close()
  repo:stage(name)
  repo:commit(message, { name = person, email = person:lower() .. "@example.org" })
end
local function pull(repo) print("  the pull: " .. repo:pull().state) end

print("Ada starts the project, connects it to the remote and pushes it. Ben clones it and pushes.")
local ada = git.init(folder .. "/ada", { url = remote })
commit(ada, "Ada", "plan.txt", "measure\n", "Start")
ada:push()
local ben = git.clone(remote, folder .. "/ben")
commit(ben, "Ben", "notes.txt", "ask Ada\n", "Take notes")
ben:push()
for _ = 1, 2 do pull(ada) end

print("\nBoth change different files. Ben is first; Ada's push is refused until she has pulled.")
commit(ben, "Ben", "notes.txt", "ask Ada about the plan\n", "Be precise")
ben:push()
commit(ada, "Ada", "readme.txt", "See plan.txt.\n", "Add a readme")
print("  " .. tostring(select(2, pcall(ada.push, ada))))
pull(ada)
ada:push()

print("\nThen both change the same line. Ada is first, and Ben's pull finds the conflict.")
pull(ben)
commit(ada, "Ada", "plan.txt", "measure twice\n", "Measure twice")
ada:push()
commit(ben, "Ben", "plan.txt", "measure and cut\n", "Cut")
pull(ben)
print("He writes what both of them meant; the commit concludes the merge.")
commit(ben, "Ben", "plan.txt", "measure twice and cut\n", "Measure twice and cut")
ben:push()
pull(ada)
for entry in ada:log() do print("  " .. entry.summary .. " (" .. entry.author .. ")") end
host.remove(folder)

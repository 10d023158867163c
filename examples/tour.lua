-- A tour: makes a repository with every usual kind of change and looks at it, as rows and as a report.

local function say(text) print("\n" .. text) end

local folder = host.temporary_folder()
local repo, ada = git.init(folder .. "/project"), { name = "Ada Example", email = "ada@example.org" }

local function write(name, text) assert(io.open(repo.path .. "/" .. name, "w")):write(text):close() end
local function commit(message) repo:stage() return repo:commit(message, ada) end

say("First a repository to look at, in " .. repo.path .. ":")
for _, name in ipairs { "changed.txt", "deleted.txt", "both.txt", "conflict.txt" } do
  write(name, "The first line of " .. name .. "\n")
end
commit("Start")
repo:branch("topic")
repo:checkout("topic")
write("conflict.txt", "What the topic says\n")
commit("Topic")
repo:checkout("main")
write("conflict.txt", "What main says\n")
commit("Main")
repo:merge("topic", ada)
write("both.txt", "Staged like this\n")
repo:stage("both.txt")
write("both.txt", "and changed again since\n")
write("changed.txt", "Changed since the last commit\n")
os.remove(repo.path .. "/deleted.txt")
write("new.txt", "Not known to git yet\n")

say("repo:status() goes through the changes. both.txt has two: what is staged, and what came since.")
for file in repo:status() do
  print(("  %-14s %-12s %s"):format(file.path, file.status, file.staged and "staged" or ""))
end

say("repo:log() goes through the history, repo:diff() through the files that differ from HEAD:")
for entry in repo:log() do print("  " .. entry.id:sub(1, 7), entry.author, entry.summary) end
for file in repo:diff() do print("  " .. file.path, file.type, #file.lines .. " lines of a patch") end

say("What cannot be done is an error, in one sentence:")
print("  " .. tostring(select(2, pcall(repo.commit, repo, "Too early", ada))))

local examples = arg[0]:gsub("[^/]*$", "")
say("A report of the week, in fifteen lines (examples/report.lua):")
arg[1] = repo.path
dofile(examples .. "report.lua")
host.remove(folder)

say("The tour ends with two people and one remote repository (examples/team.lua):")
dofile(examples .. "team.lua")

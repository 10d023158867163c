-- A tour: makes a repository with every usual kind of change and lists its status through the module.

local function say(text) print("\n" .. text) end

local folder = host.temporary_folder()
local repo = folder .. "/project"

local function git_command(...)
  local status, output = host.run("git", "-C", repo, "-c", "user.name=Tour",
                                  "-c", "user.email=tour@example.org", ...)
  return status, output
end

local function write(name, text)
  local file = assert(io.open(repo .. "/" .. name, "w"))
  file:write(text)
  file:close()
end

say("First a repository to look at, made with the git command line in " .. repo .. ":")
host.run("git", "init", "--quiet", "--initial-branch", "main", repo)
for _, name in ipairs { "changed.txt", "staged.txt", "deleted.txt", "both.txt", "conflict.txt" } do
  write(name, "The first line of " .. name .. "\n")
end
write("old-name.txt", "A text that is long enough\nto be recognised\nunder its new name.\n")
git_command("add", "--all")
git_command("commit", "--quiet", "--message", "Start")

git_command("switch", "--quiet", "--create", "topic")
write("conflict.txt", "What the topic says\n")
git_command("commit", "--quiet", "--all", "--message", "Topic")
git_command("switch", "--quiet", "main")
write("conflict.txt", "What main says\n")
git_command("commit", "--quiet", "--all", "--message", "Main")
git_command("merge", "--quiet", "topic")
print("  a merge of two branches has stopped at conflict.txt")

write("changed.txt", "Changed since the last commit\n")
write("staged.txt", "Changed and staged\n")
git_command("add", "staged.txt")
write("both.txt", "Staged like this\n")
git_command("add", "both.txt")
write("both.txt", "and changed again since\n")
os.remove(repo .. "/deleted.txt")
git_command("mv", "old-name.txt", "new-name.txt")
write("new.txt", "Not known to git yet\n")
print("  others are changed, staged, changed after staging, deleted, renamed and new")

say("Which libgit2 does the module use? It says so in the log:")
git.git_version()

say("git.get_status lists the changes. Each is a note in the log, and the call answers their number:")
local count = git.get_status(repo)
assert(count > 0, "the status of the repository could not be listed")

say("The " .. count .. " entries stay in the module, to be read attribute by attribute:")
print(string.format("  %2s  %-14s %-12s %s", "no", "PATH", "STATUS", "STAGED"))
for number = 1, count do
  local _, path = git.get_status_attribute(number, repo, "PATH")
  local _, status = git.get_status_attribute(number, repo, "STATUS")
  local _, staged = git.get_status_attribute(number, repo, "STAGED")
  print(string.format("  %2d  %-14s %-12s %s", number, path, status, staged))
end
print("  both.txt has two: what is staged, and what has changed since. The renamed file shows as\n"
      .. "  the old name deleted and the new name added: the walk does not look for renames.")

say("The same from git itself, for comparison:")
local _, porcelain = git_command("status", "--short")
print((porcelain:gsub("(.-)\n", "  %1\n")))

say("A call that cannot be done says why, and answers a code:")
print("  code: " .. tostring(git.get_status(folder .. "/nothing-here")))

say("At the end the entries are discarded, and so is the repository.")
print("  code: " .. tostring(git.free_status_objects(repo)))
host.remove(folder)

say("The tour ends with two people and one remote repository (examples/team.lua):")
dofile((arg[0]:gsub("[^/]*$", "")) .. "team.lua")

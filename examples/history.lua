-- The history of a repository: makes one with merges, a tag and a stash, and shows it as a table.
--
--     uwugit run examples/history.lua

local folder = host.temporary_folder()
local repo, ada = git.init(folder), { name = "Ada", email = "ada@example.org" }

local function commit(message)
  assert(io.open(folder .. "/" .. message:gsub(" ", "-") .. ".txt", "w")):write(message):close()
  repo:stage()
  repo:commit(message, ada)
end

commit("Start")
repo:branch("charts")
commit("Describe the project")
repo:checkout("charts")
commit("Draw a chart")
repo:checkout("main")
repo:merge("charts", ada)
repo:branch("idea")
repo:checkout("idea")
commit("Try an idea")
host.run("git", "-C", folder, "tag", "keep-in-mind")
repo:checkout("main")
repo:delete_branch("idea")
commit("Release")
assert(io.open(folder .. "/Start.txt", "w")):write("not finished\n"):close()
repo:stash(ada)

print("Every commit stands before its parents. \"*\" marks what lies on the current branch, \"S\" the stash:")
for entry in repo:log() do
  print(("  %s %s  %s  %d parents, %d children  %s"):format(
    entry.stash and "S" or entry.on_branch and "*" or " ", entry.id:sub(1, 7),
    os.date("!%Y-%m-%d", entry.time), #entry.parents, #entry.children, entry.summary))
end

print("\nThe merges of Ada, what the last day has brought, and where names lead:")
for entry in repo:log { merges = true, author = "Ada" } do print("  " .. entry.summary) end
print("  " .. #repo:log { since = "1 day", branch = true }:all() .. " commits on the branch")
for ref in repo:refs() do print(("  %-14s %-8s %s"):format(ref.name, ref.kind, ref.id:sub(1, 7))) end
host.remove(folder)

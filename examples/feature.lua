-- A day with a feature branch: branch, commit, put work aside, merge with a conflict, resolve.
--
--     uwugit run examples/feature.lua

local folder = host.temporary_folder()
local repo, ada = git.init(folder), { name = "Ada Example", email = "ada@example.org" }

local function write(text) assert(io.open(folder .. "/menu.txt", "w")):write(text):close() end
local function show() for line in io.lines(folder .. "/menu.txt") do print("    " .. line) end end
local function commit(message, text)
  if text then write(text) end
  repo:stage()
  repo:commit(message, ada)
end

commit("Write the menu", "soup\nbread\n")
print("A branch for the feature starts at HEAD and is checked out.")
repo:branch("feature/dessert")
repo:checkout("feature/dessert")
commit("Add a dessert", "soup\nbread and butter\ncake\n")

print("Half of the next change is written when main needs a correction: the work is put aside.")
write("soup\nbread and butter\ncake\ncoffee, maybe\n")
repo:stash(ada)
repo:checkout("main")
commit("Tell that the bread is fresh", "soup\nfresh bread\n")

print("Back on the branch the work is applied. It leaves the stash because all of it could be.")
repo:checkout("feature/dessert")
print("  " .. repo:unstash().state)
commit("Add coffee")

print("On main, the merge finds that both sides changed the bread.")
repo:checkout("main")
local merge = repo:merge("feature/dessert", ada)
print("  " .. merge.state .. " in " .. table.concat(merge.files, ", "))
show()
print("The file is put right, staged and committed: that concludes the merge.")
commit("Merge the dessert", "soup\nfresh bread and butter\ncake\ncoffee\n")
for entry in repo:log() do print("  " .. #entry.parents .. " " .. entry.summary) end
repo:delete_branch("feature/dessert")

print("A branch that is only ahead is fast-forwarded.")
repo:branch("feature/tea")
repo:checkout("feature/tea")
commit("Offer tea", "soup\nfresh bread and butter\ncake\ncoffee or tea\n")
repo:checkout("main")
for _ = 1, 2 do print("  " .. repo:merge("feature/tea", ada).state) end
host.remove(folder)

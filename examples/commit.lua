-- Staging, unstaging and committing in a repository of this program's own.
--
--     uwugit run examples/commit.lua

local folder = host.temporary_folder()
local repo, ada = git.init(folder), { name = "Ada Example", email = "ada@example.org" }

local function write(name, text) assert(io.open(folder .. "/" .. name, "w")):write(text):close() end

local function show_status()
  for file in repo:status() do
    print(("  %-10s %-10s %s"):format(file.path, file.status, file.staged and "staged" or ""))
  end
end

print("An empty repository. Two files are written, staged and committed.")
write("plan.txt", "measure\n")
write("old.txt", "superseded\n")
repo:stage()
show_status()
repo:commit("Start", ada)

print("\nOne file is changed, one deleted, one new. All are staged but the draft, which is not ready.")
write("plan.txt", "measure\ncompare\n")
write("draft.txt", "not ready\n")
os.remove(folder .. "/old.txt")
repo:stage()
repo:unstage("draft.txt")
show_status()
local id = repo:commit("Compare, and drop what is superseded", ada)

print("\nWhat the commit changed, what was left out, and what a commit of nothing says:")
for file in repo:diff(id .. "~1", id) do print("  " .. file.type, file.path) end
show_status()
print(select(2, pcall(repo.commit, repo, "Nothing", ada)))
host.remove(folder)

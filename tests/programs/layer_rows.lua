-- Rows as records.
local open = git.open
dofile((arg[0]:gsub("[^/]*$", "support/transcript.lua")))
local function fails(...) print("error: " .. tostring(select(2, pcall(...)))) end
local function told(value)
  if type(value) == "table" then
    local list = {}
    for i, item in ipairs(value) do list[i] = tostring(item) end
    return "{" .. table.concat(list, " ") .. "}"
  end
  return math.type(value) == "float" and "float " .. value or ("%q"):format(value):gsub("\\\n", "\\n")
end
local function tell(record, ...)
  local words = {}
  for i, field in ipairs { ... } do words[i] = field .. "=" .. told(record[field]) end
  print(table.concat(words, " "))
end

-- From a folder inside it, and not where there is none. A history needs a commit.
run "mkdir inner"
local it = open(repo .. "/inner/")
print(it, it.path == repo)
fails(open, folder)
fails(it.log, it)
for _, call in ipairs { "status", "refs" } do for _ in it[call](it) do print("unexpected") end end

-- Every type that a field can have; what is null is no field.
run "export GIT_AUTHOR_DATE='1700000000 +0000' GIT_COMMITTER_DATE='1700000000 +0000'; git commit -q --allow-empty -m 'one\n\nbody'; git branch old; git tag v1"
write("text", "1\n2\n3\n4\n5\n")
write("binary", "\0\1")
commit("two", {})
run "export GIT_COMMITTER_DATE='1900000000 +0000'; git switch -q old; git commit -q --allow-empty -m three --author 'Eve <eve@x>'; git merge -q --no-edit main; git symbolic-ref HEAD refs/heads/main"
for entry in it:log() do
  tell(entry, "summary", "stash", "on_branch", "parents", "children")
end
local first = it:log { ["until"] = 1700000000 }()
tell(first, "id", "time", "date", "message", "author")
for change in it:changes { jobs = 2, limit = 9 } do tell(change, "path", "type", "additions") end
for ref in it:refs() do tell(ref, "name", "kind", "current") end
for parent in it:parents() do tell(parent, "position", "id", "parent") end

-- Which commits.
for _, query in ipairs { { merges = true }, { merges = false }, { branch = true }, { author = "Eve" },
    { grep = "two" }, { since = "2023-11-15" }, { since = 1700000001.5 }, { ["until"] = "2001-01-01" }, { limit = 0 } } do
  local found = {}
  for entry in it:log(query) do found[#found + 1] = entry.summary end
  print(next(query), table.concat(found, ", "))
end
for _, query in ipairs { { since = "never" }, { limit = "3" }, { nothing = 1 }, { 7 } } do fails(it.log, it, query) end
fails(it.log, it, 3)

-- The files of a diff, with their lines also when the loop is over.
write("text", "0\n1\n2\n3\n4\nfive")
run "git add text; echo more >>text"
local kept
for file in it:diff("v1", "main") do
  tell(file, "path", "type", "additions", "deletions", "cut")
  print(rawget(file, "content"), rawget(file, "lines"), #file.lines)
  kept = file
end
local late = it:diff():all()[1]
print(kept.content:match("+5\n$"), #late.lines, late.content == run("git diff HEAD") .. "\n")
for _, line in ipairs(late.lines) do tell(line, "kind", "old_line", "new_line", "text") end
print(#it:diff { staged = true }().lines, #it:diff("v1"):all(), it:diff { path = "none" }())
for line in it:lines("v1", "main", { path = "text" }) do tell(line, "kind", "new_line", "text") break end
fails(it.diff, it, "v1", "nothing")
fails(it.diff, it, "HEAD:text", "v1")

-- A loop frees what it read, however it ends; loops inside each other do not disturb.
for entry in it:log() do
  local inner = 0
  for _ in it:log() do inner = inner + 1 end
  for _ in it:parents() do break end
  print(entry.summary, inner)
end
fails(function() for _ in it:changes() do error("left", 0) end end)
local rows = it:log()
rows:close()
print(rows(), rows())
it:log()()
rows = it:diff("v1", "main")
rows()
fails(rows.field, rows, "content", {})
fails(rows.field, io.stdout, "content", 1)

-- Reviewing what one commit changed, and one file before it is committed, in a repository of this
-- program's own.
--
--     uwugit run examples/review.lua

local folder = host.temporary_folder()
local repo = folder .. "/project"

local function run_git(...)
  local status, output = host.run("git", "-C", repo, "-c", "user.name=Ada",
                                  "-c", "user.email=ada@example.org", ...)
  assert(status == 0, output)
  return (output:gsub("\n$", ""))
end

local function write(name, text)
  local file = assert(io.open(repo .. "/" .. name, "w"))
  file:write(text)
  file:close()
end

-- Commits everything and answers the id: a diff wants whole ids, and takes any other text as the
-- first commit for "nothing".
local function commit(message)
  run_git("add", "--all")
  run_git("commit", "--quiet", "--message", message)
  return run_git("rev-parse", "HEAD")
end

-- The records of a file as a list of types and values. They look like JSON, but the lines stand in
-- them as they are, quotes included, so a JSON parser would refuse them. A record ends where
-- "},{"type":" follows a line break. Only the last line of a file can be without a line break: then
-- the type behind it says so.
local function records(content)
  local list = {}
  local between = '"},{"type":"'
  local text = content:sub(#'{"type":"' + 1, -(#'"}' + 1)) .. between
  local start, from = 1, 1
  while from <= #text do
    local first, last = text:find(between, from, true)
    local is_end = text:sub(first - 1, first - 1) == "\n"
                   or text:find("^[%a_]*lf_at_end", last + 1) or last == #text
    if is_end then
      local kind, value = text:sub(start, first - 1):match('^(.-)", "value":"(.*)$')
      list[#list + 1] = { kind = kind, value = value }
      start = last + 1
    end
    from = last + 1
  end
  return list
end

-- Shows the changed lines, with some ahead of them, and answers how many came and went.
local function show(content)
  local counts = { addition = 0, deletion = 0 }
  for _, record in ipairs(records(content)) do
    local line = record.value:gsub("\n$", "")
    if record.kind == "context" then
      print("      " .. line)
    elseif record.kind == "addition" or record.kind == "deletion" then
      counts[record.kind] = counts[record.kind] + 1
      print("     " .. line)
    elseif record.kind ~= "file_header" then
      print("     (" .. record.kind:gsub("_", " ") .. ") " .. line:gsub("\n", ""))
    end
  end
  return counts
end

host.run("git", "init", "--quiet", "--initial-branch", "main", repo)
write("greet.lua", 'local name = ...\nprint("hello")\nreturn name\n')
write("old-name.txt", "kept\n")
write("notes.txt", "measure\ncompare\n")
local old = commit("Start")
write("greet.lua", 'local name = ...\nprint("hello, " .. name)\nprint("C:\\\\")\nreturn name\n')
os.rename(repo .. "/old-name.txt", repo .. "/new-name.txt")
write("notes.txt", "measure\ncompare twice")
write("picture", "\0\1\2")
local new = commit("Greet by name")

print("What the commit \"Greet by name\" changed. A rename is one file deleted and one added.")
local count = git.diff_commits(repo, old, new)
assert(count > 0, "nothing differs, or the diff failed: then the log tells why")
for number = 1, count do
  local function read(attribute)
    local _, value = git.get_diff_attribute(number, repo, old, new, attribute)
    return value
  end
  print(("\n%d. %s, %s"):format(number, read("FILE"), read("DIFF_TYPE"):lower()))
  local counts = show(read("DIFF_CONTENT"))
  print(("   lines added: %d, deleted: %d"):format(counts.addition, counts.deletion))
end

local target = folder .. "/first.diff"
assert(git.write_diff_to_file(1, repo, old, new, target) == 0)
local file = assert(io.open(target))
local written = file:read("a")
file:close()
print(("\nThe records of the first file, written to a file (%d bytes). They begin:"):format(#written))
print(written:sub(1, written:find("\n") - 1))

print("\nThe diff is not needed any more.")
assert(git.free_diff_objects(repo, old, new) == 0)

print("\nA file is changed once and staged, then changed again. Against the index:")
write("notes.txt", "measure\ncompare twice\n")
run_git("add", "notes.txt")
write("notes.txt", "measure\ncompare twice\nwrite it down\n")
local code, content = git.diff_file_in_index(repo, "notes.txt", 1)
assert(code == 0)
show(content)
print("and against the working tree:")
code, content = git.diff_file_in_index(repo, "notes.txt")
assert(code == 0)
show(content)

host.remove(folder)

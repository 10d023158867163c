-- Reviewing what one commit changed, and one file before it is committed, in a repository of this
-- program's own.
--
--     uwugit run examples/review.lua

local folder = host.temporary_folder()
local repo, ada = git.init(folder), { name = "Ada", email = "ada@example.org" }

local function write(name, text) assert(io.open(folder .. "/" .. name, "w")):write(text):close() end

local function commit(message) repo:stage() repo:commit(message, ada) end

local signs = { addition = "+", deletion = "-", context = " " }
local function show(files)
  for file in files do
    print(("\n%s, %s: lines added %s, deleted %s"):format(file.path, file.type,
                                                            file.additions, file.deletions))
    for _, line in ipairs(file.lines) do
      print(("  %3s %3s %s"):format(line.old_line or "", line.new_line or "", signs[line.kind] .. line.text))
    end
  end
end

write("greet.lua", 'local name = ...\nprint("hello")\nreturn name\n')
write("old-name.txt", "kept\n")
write("notes.txt", "measure\ncompare\n")
commit("Start")
write("greet.lua", 'local name = ...\nprint("hello, " .. name)\nprint("C:\\\\")\nreturn name\n')
os.rename(folder .. "/old-name.txt", folder .. "/new-name.txt")
write("notes.txt", "measure\ncompare twice")
write("picture", "\0\1\2")
commit("Greet by name")
print("What the last commit changed. A rename is one file deleted and one added:")
show(repo:diff("HEAD~1", "HEAD"))

print("\nA file is changed once and staged, then changed again. Against the index:")
write("notes.txt", "measure\ncompare twice\n")
repo:stage("notes.txt")
write("notes.txt", "measure\ncompare twice\nwrite it down\n")
show(repo:diff { staged = true })
print("\nand against the working tree:")
show(repo:diff())
host.remove(folder)

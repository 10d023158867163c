-- Differences, beside those that git shows.
dofile((arg[0]:gsub("[^/]*$", "support/transcript.lua")))

-- A file's content is a list of records, one for each line of the patch, with commas between them.
-- A line ends at a NUL.
local first = commit("first", { [".gitattributes"] = "nul diff\n", text = "one\n\"two\"\n", gone = "\\\n", binary = "\0\1" })
local second = commit("second", { text = "one\n2\n", gone = false, binary = "\0\2", nul = "a\0b\n", new = "a\nb" })
for number = 1, git.diff_commits(repo, first, second) do
  for _, name in ipairs { "FILE", "diff_type  ", "Diff_Content" } do
    git.get_diff_attribute(number, repo, first, second, name)
  end
end

-- Put together, the values of the records are the patch. (No line may say `"},{"type":"` itself.)
local function patch_of(content)
  return (('"},' .. content):gsub('"},{"type":"([%l_]+)", "value":"', function(kind)
    return kind == "context" and " " or ""
  end):gsub('"}$', ""))
end
local function compare(old, new, git_old)
  local patch = {}
  for number = 1, git.diff_commits(repo, old, new) do
    local function read(name) return select(2, untold.get_diff_attribute(number, repo, old, new, name)) end
    print(read "DIFF_TYPE", read "FILE")
    patch[number] = patch_of(read "DIFF_CONTENT")
  end
  local told, expected = table.concat(patch), run("git diff --no-renames " .. (git_old or old) .. " " .. new) .. "\n"
  print(told == expected and "This is git's patch." or "told:\n" .. told .. "git:\n" .. expected)
end
local many = run "mkdir folder; seq 40" .. "\n"
local before = commit("before", { text = "one\ntwo", lost = "end\n", gained = "end", link = "hunks\n", hunks = many,
  ["old-name"] = many, ["folder/executable"] = many, quotes = "{\"a\": \"\\n\"}\n" })
run "rm link; ln -s hunks link; chmod +x folder/executable"
local after = commit("after", { text = "1\ntwo", lost = "end", gained = "end\n", hunks = "first\n" .. many .. "last\n",
  ["old-name"] = false, ["new-name"] = many, quotes = "{\"b\": \"\\\\t\"}\n\"},{\n", ["%s%n"] = "é %s%n\n" })
compare(before, after)

-- A first id that has not forty characters is nothing: all files are new.
run "git rm --quiet -r ."
local few = commit("few", { a = "a\n", b = "b\n" })
for _, nothing in ipairs { "", ("1"):rep(41) } do compare(nothing, few, "4b825dc642cb6eb9a060e54bf8d69288fbee4904") end
git.diff_commits(repo, few, few)

-- A failure is told in the log and answers 0 as well; a folder without a repository is not told.
local blob = run "git rev-parse HEAD:b"
each("diff_commits", { ("g"):rep(40), few }, { blob, few }, { few, "" }, { few, blob })
git.diff_commits(folder, first, second)

-- Files are counted from 1; another attribute is blank. The keys of a diff are upper-cased, so that
-- repositories whose paths differ only in that share one.
for _, number in ipairs { 0, -1, 6, 0 / 0, 4.9 } do
  git.get_diff_attribute(number, repo, first, second, "FILE")
  git.write_diff_to_file(number, repo, first .. " ", second, folder .. "/out")
end
show "cat ../out"
git.write_diff_to_file(4, repo, first, second, folder .. "/none/out")
git.get_diff_attribute(1, repo, first, second, "FILES")
run "cp -R . ../REPO"
git.diff_commits(folder .. "/REPO", first, second)
git.free_diff_objects(repo, first, second)
git.get_diff_attribute(1, folder .. "/REPO", first, second, "FILE")
git.write_diff_to_file(1, repo, first, second, folder .. "/out")
git.free_diff_objects(repo, before, after)
for _, old in ipairs { "", ("1"):rep(41), few } do git.free_diff_objects(repo, old, few) end

-- One file of HEAD, beside the index or the working tree. The records can go to a file as well,
-- and stay when that cannot be written.
run "echo staged >b; echo new >new; git add b new; echo changed >b; echo >untracked"
each("diff_file_in_index", { "b", 0.9 }, { "b ", 0, folder .. "/none/out" })
git.get_diff_attribute(1, repo, "INDEX", "WORKDIR", "FILE")
each("diff_file_in_index", { "b", 1, folder .. "/out" }, { "new", -1 }, { "untracked" })
git.get_diff_attribute(1, repo, "INDEX", "WORKDIR", "FILE")
show "cat ../out; git checkout --quiet --orphan unborn"
each("diff_file_in_index", { "b", 1 })

-- A content has room for 4,999,999 bytes.
run "git switch --quiet --force main"
for _, size in ipairs { 4999702, 4999703, 4999704 } do
  local long = commit("long", { long = ("x"):rep(size) })
  untold.diff_commits(repo, few, long)
  local _, told = untold.get_diff_attribute(1, repo, few, long, "DIFF_CONTENT")
  print(#told, told:sub(-3))
  untold.free_diff_objects(repo, few, long)
end

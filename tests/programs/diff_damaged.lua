-- Differences in a repository that has lost the content of a file.
dofile((arg[0]:gsub("[^/]*$", "support/transcript.lua")))

local first = commit("first", { a = "one\n", b = "one\n", c = "one\n" })
local second = commit("second", { a = "two\n", b = "2\n", c = "two\n" })
run [[rm -f "$(git rev-parse HEAD:b | sed "s,..,.git/objects/&/,")"]]
for name in ("abc"):gmatch "." do write(name, "three\n") end

-- What was printed until then is there.
git.diff_commits(repo, first, second)
git.get_diff_attribute(1, repo, first, second, "FILE")
git.get_diff_attribute(2, repo, first, second, "FILE")
git.free_diff_objects(repo, first, second)
for name in ("abc"):gmatch "." do git.diff_file_in_index(repo, name) end

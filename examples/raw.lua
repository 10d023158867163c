-- The functions of the module as they are: numbers, attributes, and the log on stderr. What the
-- other examples do with a repository's object rests on them; docs/functions.md tells of each.
--
--     uwugit run examples/raw.lua

local repo = host.temporary_folder()
assert(git.init_repo(repo, "main") == 0)
assert(io.open(repo .. "/plan.txt", "w")):write("measure\n"):close()

local count = git.get_status(repo)
for number = 1, count do
  local _, path = git.get_status_attribute(number, repo, "PATH")
  local _, status = git.get_status_attribute(number, repo, "STATUS")
  print(number, path, status)
  assert(git.add_files_to_index(repo, path, status) == 0)
end
assert(git.free_status_objects(repo) == 0)

-- do_commit answers 0 also when there is no new commit: the commit log tells.
assert(git.do_commit(repo, "HEAD", "Ada Example", "ada@example.org", "Start") == 0)
assert(git.get_commit_log(repo) == 1)
local _, message = git.get_commit_attribute(1, repo, "MESSAGE")
print(message)
git.free_commit_objects(repo)
print(git.get_status(repo .. "/nothing-here"))
assert(git.delete_repo(repo) == 0)

-- The module as a program of the user sees it.
local repo = arg[1]

print(git.get_status_attribute(1, repo, "PATH"))
print(git.get_status(repo))
print(git.get_status_attribute(1, repo, "path"))
print(git.get_status_attribute(1, repo, "NONE"))
print(git.get_status_attribute(9, repo, "PATH"))
print(git.free_status_objects(repo))
print(git.get_status(repo .. "/nothing"))

local ok, message = pcall(git.get_status, repo, 2)
print(ok, message)
ok, message = pcall(git.get_status_attribute, true, repo, "PATH")
print(ok, message)
print(select("#", ...), select(2, ...))
host.note("100%s %n")
error("the end")

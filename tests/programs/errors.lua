-- What a program sees of calls that cannot be made, and how one ends that fails.
dofile((arg[0]:gsub("[^/]*$", "support/transcript.lua")))

print(select("#", ...), ...)
print(pcall(untold.get_status, repo, 2))
print(pcall(untold.get_status_attribute, true, repo, "PATH"))
host.note("100%s %n")
host.error("%1z")
error("the end")

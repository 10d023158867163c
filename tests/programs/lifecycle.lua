-- Making, connecting and removing repositories, as git sees them.
dofile((arg[0]:gsub("[^/]*$", "support/transcript.lua")))

-- A repository is made with the folders that lead to it, on a branch without commits. A relative
-- path counts from the folder that the program runs in: here, the command is run again.
write("file", "")
git.init_repo(folder .. "/connected", "refs/heads/main", "https://example.org/x.git")
git.init_repo(folder .. "/connected", "main", "again")
git.init_repo("", "main")
git.init_repo(repo .. "/file", "main")
show "git -C ../connected symbolic-ref HEAD; git -C ../connected config --get-regexp ^remote"
show '"$(readlink /proc/$PPID/exe)" call init_repo new/deeply trunk'
show "git -C new/deeply status --branch --short; git -C new/deeply config --local --list"

-- The remote is added once and never changed.
each("set_remote_url", { "git@example.org:x.git" }, { "other" })
show "git config --get-regexp ^remote"

-- Cloning a folder takes its commits and its branch.
run "git commit --quiet --allow-empty --message one"
each("do_clone", { folder .. "/clone" }, { folder .. "/clone" })
show "git -C ../clone status --branch --short; git -C ../clone log --format=%s; git -C ../clone remote --verbose"

-- A folder is removed by its own name, with all that is in it and nothing that it points to.
run "mkdir -p outside/kept tree/deep; ln -s ../outside tree/link; ln -s tree link-to-tree"
for _, path in ipairs { "/file", "/link-to-tree/", "/tree/..", "/none", "/tree//" } do git.delete_repo(repo .. path) end
show "ls -F"

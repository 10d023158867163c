-- What is staged and unstaged, as git sees it.
dofile((arg[0]:gsub("[^/]*$", "support/transcript.lua")))

-- Before the first commit, what is unstaged leaves the index.
run "mkdir folder; for name in a b 'folder/[1]*' x1 x2; do echo one >\"$name\"; done; git add a folder x1 x2"
each("remove_files_from_index", { "a", "b", "folder/[1]*" }, {})
show "git status --short"

-- Content is staged, or a removal. The last file decides the answer: one that fails before it is
-- passed over.
commit "base"
run "for name in a b 'folder/[1]*' x1 x2; do echo two >\"$name\"; done"
each("add_files_to_index", { "a", "NEW", "b", "deleted", "folder/[1]*", "", "x1", "Deleted  ", "x2", "REMOVED" })
show "git status --short"
each("add_files_to_index", { "b", "new", "x1" }, { "none", "", "x1", "deleted" }, { "b", "deleted", "none", "" }, {})
show "git diff --cached --name-status"

-- With a commit, the index gets its entries back. The working tree stays; a file is a pattern.
run "rm b; echo three >a; echo new >new; git add b new"
each("remove_files_from_index", { "a", "b", "new", "none" })
show "git status --short; cat a"
each("remove_files_from_index", { "x?" }, {})
show "git status --short"

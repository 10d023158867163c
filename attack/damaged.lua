-- Calls functions on the damaged repositories of a world: damaged.lua FOLDER MAIN TOPIC RIVAL WORD...,
-- with the ids of three branches. The words say in which order the writing functions come.
local folder, main, topic, rival = table.unpack(arg)
local repo

local work = {
  merge = function() git.merge_branch(repo, "rival", "Me", "me@x") git.merge_branch(repo, "clash", "Me", "me@x") end,
  stash = function() git.stash_apply(repo, 0) git.stash(repo, "Me", "me@x") git.stash_pop(repo) git.stash_drop(repo, 0) end,
  rebase = function() git.rebase(repo, topic, rival, "Me", "me@x") end,
  operation = function()
    for _, word in ipairs { "CONTINUE", "SKIP", "FINISH", "ABORT" } do git.rebase_operation(repo, word, "mine", "Me", "me@x") end
  end,
  checkout = function() git.checkout_branch(repo, "topic") git.checkout_branch(repo, "main") end,
  commit = function() git.add_files_to_index(repo, "file", "modified") git.do_commit(repo, "HEAD", "Me", "me@x", "text") end,
  reset = function() git.reset_file_in_index(repo, "file") git.reset_to_commit(repo, main, "HARD") end,
  transfer = function() git.do_fetch(repo) git.do_pull(repo) git.do_push(repo) end,
}

local function read()
  git.get_status(repo)
  for i = 1, 9 do git.get_status_attribute(i, repo, "PATH") end
  git.get_commit_log(repo)
  for i = 1, 12 do
    for _, name in ipairs { "ID", "MESSAGE", "TIME", "PARENT_IDS", "CHILDREN_IDS", "STASH" } do git.get_commit_attribute(i, repo, name) end
  end
  for _, second in ipairs { main, rival } do
    git.diff_commits(repo, topic, second)
    for i = 1, 5 do git.get_diff_attribute(i, repo, topic, second, "DIFF_CONTENT") end
    git.free_diff_objects(repo, topic, second)
  end
  git.diff_file_in_index(repo, "file", 0) git.diff_file_in_index(repo, "kept", 1)
  git.free_status_objects(repo) git.free_commit_objects(repo)
end

for _, name in ipairs { "repo", "rebasing" } do
  repo = folder .. "/" .. name
  read()
  for round = 1, 2 do
    for i = 5, #arg do work[arg[i]]() end
    work.reset()
  end
  read()
end

-- Calls all functions over and over, in one process: soak.lua FOLDER SECONDS MAIN TOPIC. The folder is
-- a world (see world.sh). Prints the calls, the kilobytes and descriptors in use after a warm-up of a
-- fifth of the time, and both at the end.
local folder, seconds, main, topic = table.unpack(arg)
local repo, made = folder .. "/repo", folder .. "/made"
local me, address = "Me", "me@example.org"
local calls = 0

local function call(name, ...)
  calls = calls + 1
  return git[name](...)
end

local function write(name, text) assert(io.open(repo .. "/" .. name, "w")):write(text):close() end

local work = {
  function()
    call("get_status", repo)
    for i = 1, 6 do for _, name in ipairs { "PATH", "STATUS", "staged" } do call("get_status_attribute", i, repo, name) end end
    call("free_status_objects", repo) call("get_status", folder .. "/none") call("get_status_attribute", 1, repo, "PATH")
  end,
  function()
    call("get_commit_log", repo)
    for i = 1, 12 do for _, name in ipairs { "ID", "MESSAGE", "PARENT_IDS" } do call("get_commit_attribute", i, repo, name) end end
    call("free_commit_objects", repo)
  end,
  function()
    call("diff_commits", repo, main, topic)
    call("get_diff_attribute", 1, repo, main, topic, "DIFF_CONTENT") call("get_diff_attribute", 9, repo, main, topic, "FILE")
    call("write_diff_to_file", 1, repo, main, topic, folder .. "/written") call("free_diff_objects", repo, main, topic)
    call("diff_file_in_index", repo, "file", 0) call("diff_file_in_index", repo, "file", 1, folder .. "/none/written")
    call("free_diff_objects", repo, "INDEX", "WORKDIR") call("diff_commits", repo, "x", "y")
    call("free_diff_objects", repo, "x", "y")
  end,
  function()
    call("create_branch", repo, "HEAD", "made", 0) call("create_branch", repo, "HEAD", "bad..name", 0)
    call("checkout_branch", repo, "made") call("checkout_branch", repo, "main") call("delete_branch", repo, "made")
    call("delete_branch", repo, "made") call("checkout_branch", repo, "none")
  end,
  function()
    write("file", "changed\n") call("stash", repo, me, address) call("stash_apply", repo, 0)
    call("reset_file_in_index", repo, "file") call("stash_pop", repo) call("stash_drop", repo, 5)
    write("new", "new\n") call("add_files_to_index", repo, "file", "modified", "new", "new", "none", "new")
    call("remove_files_from_index", repo, "new") call("do_commit", repo, "HEAD", me, address, "text") call("do_push", repo)
  end,
  function()
    call("merge_branch", repo, "topic", me, address) call("merge_branch", repo, "rival", me, address)
    call("reset_to_commit", repo, main, "HARD") call("merge_branch", repo, "clash", me, address)
    call("reset_to_commit", repo, main, "hard") call("reset_to_commit", repo, "none", "HARD")
  end,
  function()
    call("checkout_branch", repo, "loose") call("rebase", repo, "loose", "topic", me, address)
    call("rebase", repo, topic, main, me, address) call("rebase_operation", repo, "ABORT", "loose", me, address)
    call("checkout_branch", repo, "main") call("reset_to_commit", repo, main, "HARD")
  end,
  function()
    call("do_fetch", repo) call("do_pull", repo) call("do_push", repo) call("set_remote_url", repo, folder .. "/other")
    call("do_fetch", repo, " ", " ", " ", " ", "+refs/heads/topic:refs/heads/fetched") call("do_fetch", folder .. "/bare")
  end,
  function()
    call("init_repo", made, "main", folder .. "/none") call("do_fetch", made) call("delete_repo", made)
    call("do_clone", folder .. "/bare", made) call("do_clone", folder .. "/bare", made) call("delete_repo", made)
    call("delete_repo", made) call("git_version")
  end,
}

-- The kilobytes in memory and the open descriptors.
local function used()
  collectgarbage()
  collectgarbage()
  local status <close> = io.open("/proc/self/status")
  local kilobytes = status:read("a"):match("VmRSS:%s*(%d+)")
  os.execute("ls /proc/$PPID/fd | wc -l >" .. folder .. "/descriptors")  -- no pipe to this process
  local listed <close> = io.open(folder .. "/descriptors")
  return kilobytes, listed:read("n")
end

local begun, warm, before = os.time(), nil, nil
repeat
  for _, each in ipairs(work) do each() end
  local passed = os.time() - begun
  if not warm and passed >= seconds / 5 then warm, before = used() end
until passed >= tonumber(seconds)
print(calls, warm, before, used())

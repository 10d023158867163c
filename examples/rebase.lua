-- A rebase that stops at a conflict, taken three ways: SKIP, CONTINUE and ABORT.
--
--     uwugit run examples/rebase.lua

local repo = host.temporary_folder()
local name, email = "Ada Example", "ada@example.org"

-- Runs git itself: to make the repository, and to show what became of it.
local function run_git(...)
  local status, output = host.run("git", "-C", repo, ...)
  assert(status == 0, output)
  return (output:gsub("\n$", ""))
end

local function write(file, text)
  local stream = assert(io.open(repo .. "/" .. file, "w"))
  stream:write(text)
  stream:close()
end

local function must(code, expected, what)
  assert(code == expected, what .. " answered " .. tostring(code))
end

local function commit(message, file, text)
  write(file, text)
  must(git.add_files_to_index(repo, file, "MODIFIED"), 0, "add_files_to_index")
  must(git.do_commit(repo, "HEAD", name, email, message), 0, "do_commit")
  assert(run_git("log", "-1", "--format=%s") == message, "no commit was made")
end

local function show()
  local subjects = run_git("log", "--reverse", "--format=%s")
  print(run_git("symbolic-ref", "--short", "HEAD") .. ": " .. subjects:gsub("\n", " - "))
  assert(run_git("status", "--porcelain") == "", "the working tree is not clean")
end

run_git("init", "--quiet", "--initial-branch=main")
commit("Start", "greeting.txt", "hello\n")
must(git.create_branch(repo, "HEAD", "topic", 0), 0, "create_branch")
commit("Greet the world", "greeting.txt", "hello, world\n")
must(git.checkout_branch(repo, "topic"), 0, "checkout_branch")
commit("Add a list", "list.txt", "one\n")
commit("Greet everybody", "greeting.txt", "hello, everybody\n")
commit("Add a table", "table.txt", "1 2 3\n")
local main_tip, topic_tip = run_git("rev-parse", "main"), run_git("rev-parse", "topic")
show()

-- Rebases topic, as it was at first, onto main. Topic is checked out for it: the branch that HEAD
-- is on is the one that is moved.
local function stop_at_the_conflict()
  run_git("reset", "--quiet", "--hard", topic_tip)
  must(git.rebase(repo, topic_tip, main_tip, name, email), -1, "rebase")
end

print("\nThe second commit of topic conflicts with main, and the rebase stops there.")
print("SKIP leaves this commit out:")
stop_at_the_conflict()
must(git.rebase_operation(repo, "SKIP", "topic", name, email), 0, "SKIP")
show()

print("\nCONTINUE goes on with the commit that is left. First the conflict is resolved, staged and")
print("committed on HEAD: if it were only staged, the commit that is left would be dropped.")
stop_at_the_conflict()
commit("Greet everybody", "greeting.txt", "hello, everybody in the world\n")
must(git.rebase_operation(repo, "CONTINUE", "topic", name, email), 0, "CONTINUE")
show()
print("greeting.txt: " .. run_git("show", "topic:greeting.txt"))

print("\nABORT goes back to where the rebase started:")
stop_at_the_conflict()
must(git.rebase_operation(repo, "ABORT", "topic", name, email), 0, "ABORT")
show()
assert(run_git("rev-parse", "topic") == topic_tip, "topic has moved")

host.remove(repo)

-- A rebase that stops at a conflict, taken three ways: skip, continue and abort.
--
--     uwugit run examples/rebase.lua

local folder = host.temporary_folder()
local repo, ada = git.init(folder), { name = "Ada Example", email = "ada@example.org" }

local function commit(file, text, message)
  assert(io.open(folder .. "/" .. file, "w")):write(text):close()
  repo:stage(file)
  if message then repo:commit(message, ada) end
end
local function show()
  local summaries = {}
  for entry in repo:log { branch = true } do table.insert(summaries, 1, entry.summary) end
  print("  " .. table.concat(summaries, " - "))
end

commit("greeting.txt", "hello\n", "Start")
repo:branch("topic")
commit("greeting.txt", "hello, world\n", "Greet the world")
repo:checkout("topic")
commit("list.txt", "one\n", "Add a list")
commit("greeting.txt", "hello, everybody\n", "Greet everybody")
commit("table.txt", "1 2 3\n", "Add a table")
local tip = repo:resolve("topic")
show()

-- Rebases topic, as it was at first, onto main.
local function stop_at_the_conflict()
  repo:reset(tip, "hard")
  local stop = repo:rebase("main", ada)
  print("  " .. stop.state .. " in " .. stop.files[1] .. ", at the commit " .. stop.commit:sub(1, 7))
end

print("\nThe second commit of topic conflicts with main. This commit is left out:")
stop_at_the_conflict()
repo:skip(ada)
show()

print("\nThe conflict is resolved and staged, and the rebase goes on:")
stop_at_the_conflict()
commit("greeting.txt", "hello, everybody in the world\n")
repo:continue(ada)
show()

print("\nThe rebase is given up:")
stop_at_the_conflict()
assert(repo:abort(ada) == tip)
show()
host.remove(folder)

-- What the programs beside this folder share: each begins with
--
--   dofile((arg[0]:gsub("[^/]*$", "support/transcript.lua")))
--
-- and then works in `repo`, a new repository on the branch "main". What happens is told on the
-- standard output, in order: every call of the module with its return code and its value, and
-- every script that is shown with what it printed. The module's own lines come in between.
io.stdout:setvbuf("line")

folder = host.temporary_folder()
repo = folder .. "/repo"
host.run("git", "init", "--quiet", "--initial-branch=main", repo)

local function shell(options, script)
  local status, output = host.run("sh", options, "cd '" .. repo .. "'\n" .. script)
  return status, (output:gsub("\n$", ""))
end

-- Runs a shell script in the repository and answers what it printed. The script must succeed.
function run(script)
  local status, output = shell("-ec", script)
  assert(status == 0, script .. "\n" .. output)
  return output
end

-- Runs a shell script in the same way and tells what it printed, whether it succeeds or not.
function show(script)
  print("$ " .. script .. "\n" .. select(2, shell("-c", script)))
end

function write(name, content)
  assert(io.open(repo .. "/" .. name, "wb")):write(content):close()
end

-- Writes the files (false: removes), commits the whole working tree and answers the commit's id.
function commit(message, files)
  for name, content in pairs(files or {}) do
    if content then write(name, content) else os.remove(repo .. "/" .. name) end
  end
  return run("git add --all; git commit --quiet --allow-empty --message '" .. message .. "'; git rev-parse HEAD")
end

local function shown(value)
  if value == repo then return "repo" end
  if value ~= value then return "NaN" end  -- its own text is another one on each processor
  if type(value) ~= "string" then return tostring(value) end
  return (("%q"):format(value):gsub("\\\n", "\\n"))
end

-- The functions of the module as they are, for programs that call one very often.
untold = {}

for name, call in pairs(git) do
  untold[name] = call
  git[name] = function(...)
    local words = {}
    for i, value in ipairs { ... } do words[i] = shown(value) end
    print(name .. "(" .. table.concat(words, ", ") .. ")")
    local code, value = call(...)
    print("-> " .. code .. (value and " [" .. value .. "]" or ""))
    return code, value
  end
end

-- Calls a function for the repository with each row of further arguments.
function each(name, ...)
  for _, row in ipairs { ... } do git[name](repo, table.unpack(row)) end
end

-- Repositories as objects, and their results as records.
local core, layer = ...

local Repository = { __name = "repository" }
Repository.__index = Repository
layer.Repository = Repository

-- git.open([place]) -> the repository in which a folder is; the current folder when left out.
function git.open(place) return setmetatable({ path = core.find(place or ".") }, Repository) end
layer.open = git.open

function Repository:__tostring() return "repository " .. self.path end

-- repo:resolve(name) -> the whole id of the commit that a branch, a tag, "HEAD~2" or a short id
-- leads to.
function Repository:resolve(name) return core.resolve(self.path, name) end

-- The same; nil when it leads to none.
function layer.find_commit(repo, name)
  local id = core.try_resolve(repo.path, name)
  return id ~= "" and id or nil
end

-- The branch that HEAD is on, or nil.
function layer.current_branch(repo)
  for ref in repo:refs() do
    if ref.current and ref.kind == "branch" then return ref.name end
  end
end

-- The kind of a reference by its name, when it is one of those wanted.
function layer.has_ref(repo, name, kind)
  for ref in repo:refs() do
    if ref.name == name and ref.kind == kind then return true end
  end
  return false
end

-- Who does something: what is given, and else what git's configuration says.
function layer.identity(repo, who)
  who = layer.options(who)
  return who.name or core.identity(repo.path, "name"), who.email or core.identity(repo.path, "email")
end

local kinds = { ["+"] = "addition", ["-"] = "deletion", [" "] = "context" }

-- The lines of a file's patch: {kind=, old_line=, new_line=, text=}.
local function lines_of(patch)
  local lines, old, new = {}, nil, nil
  for text in patch:gmatch("([^\n]*)\n?") do
    local first_old, first_new = text:match("^@@ %-(%d+)[%d,]* %+(%d+)")
    local kind = kinds[text:sub(1, 1)]
    if first_old then
      old, new = math.tointeger(first_old), math.tointeger(first_new)
    elseif old and kind then
      local line = { kind = kind, text = text:sub(2) }
      if kind ~= "addition" then line.old_line, old = old, old + 1 end
      if kind ~= "deletion" then line.new_line, new = new, new + 1 end
      lines[#lines + 1] = line
    end
  end
  return lines
end

-- The content of a file of a diff is read when it is asked for, from the diff as long as the loop
-- is at the file. Later the file is compared once more.
local function open_files(path, query)
  local rows
  rows = core.rows(path, "files", query, function(file, number)
    setmetatable(file, { __index = function(_, field)
      if field == "lines" then
        file.lines = lines_of(file.content or "")
      elseif field == "content" then
        local is_there, content = rows:field("content", number)
        if not is_there then
          local again = { first = query.first, second = query.second, path = file.path }
          local same <close> = core.rows(path, "files", again)
          if same() then content = select(2, same:field("content", 1)) end
        end
        file.content = content
      end
      return rawget(file, field)
    end })
  end)
  return rows, nil, nil, rows
end

-- From the arguments of repo:diff: two names of commits, or one that is compared with HEAD, or none,
-- for HEAD against the working tree or, with {staged = true}, the index.
local function query_of_commits(first, second, options)
  if type(first) == "table" then first, options = nil, first end
  if type(second) == "table" then second, options = nil, second end
  options = layer.options(options)
  local inner = options.staged and "INDEX" or "WORKDIR"
  return { first = first or "HEAD", second = second or (first and "HEAD" or inner), path = options.path }
end

-- A method for each set of rows: repo:status(), repo:commits{…}, repo:files("v1", "v2"), …
for _, set in ipairs(core.sets()) do
  Repository[set.name] = function(repo, ...)
    if set.name == "files" then return open_files(repo.path, query_of_commits(...)) end
    if set.is_of_two_commits then return core.rows(repo.path, set.name, query_of_commits(...)) end
    return core.rows(repo.path, set.name, ... or {})
  end
end
Repository.log = Repository.commits
Repository.diff = Repository.files

function Repository:changes(query)
  local all = { jobs = core.processors }
  for name, value in pairs(layer.options(query)) do all[name] = value end
  return core.rows(self.path, "changes", all)
end

-- rows:all() -> a list of all the records that are left.
function core.rows_type.__index.all(rows)
  local list = {}
  for record in rows do list[#list + 1] = record end
  return list
end

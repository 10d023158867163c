-- Staging, unstaging and committing.
local core, layer = ...
local Repository = layer.Repository

-- The paths that have conflicts.
function layer.conflicts(repo)
  local paths = {}
  for entry in repo:status() do
    if entry.status == "conflicted" then paths[#paths + 1] = entry.path end
  end
  return paths
end

-- Raises an error as long as there are conflicts.
function layer.refuse_conflicts(repo, name)
  local paths = layer.conflicts(repo)
  if paths[1] then
    layer.refuse(name, "there are conflicts: edit and stage %s first", table.concat(paths, ", "))
  end
end

-- Whether a path is named by itself, or by a folder.
local function is_named(path, name)
  name = name:gsub("/+$", "")
  return name == "." or path == name or path:sub(1, #name + 1) == name .. "/"
end

-- The entries of the status that are named; all when there are no names.
local function wanted_entries(repo, is_staged, names)
  local wanted = {}
  for entry in repo:status { staged = is_staged } do
    local is_wanted = not names
    for _, name in ipairs(names or {}) do is_wanted = is_wanted or is_named(entry.path, name) end
    if is_wanted then wanted[#wanted + 1] = entry end
  end
  return wanted
end

local function as_list(names)
  if type(names) == "string" then return { names } end
  return names and layer.options(names)
end

local function exists(path)
  local file = io.open(path)
  return file ~= nil and file:close()
end

-- A call answers for its last file only, so all are staged by one call, and what is left in the
-- status is staged again by a call of its own, which says why it cannot be.
local function stage_entries(repo, entries)
  local arguments = {}
  for _, entry in ipairs(entries) do
    local is_gone = entry.status == "deleted"
                    or entry.status == "conflicted" and not exists(repo.path .. "/" .. entry.path)
    arguments[#arguments + 1] = entry.path
    arguments[#arguments + 1] = is_gone and "DELETED" or "MODIFIED"
  end
  if arguments[1] then core.call("add_files_to_index", repo.path, table.unpack(arguments)) end
  local places = {}
  for place = 1, #arguments, 2 do places[arguments[place]] = place end
  for entry in repo:status { staged = false } do
    local place = places[entry.path]
    if place then
      layer.call("add_files_to_index", repo.path, arguments[place], arguments[place + 1])
    end
  end
end

-- Whether a name names any of the entries, or a folder in which nothing has changed.
local function is_in(repo, name, entries)
  for _, entry in ipairs(entries) do
    if is_named(entry.path, name) then return true end
  end
  return exists(repo.path .. "/" .. name .. "/")
end

-- repo:stage([files]): files and folders, changed, new or deleted; everything when left out.
function Repository:stage(files)
  files = as_list(files)
  local entries = wanted_entries(self, false, files)
  local limit = 400  -- files in a call
  for start = 1, #entries, limit do
    stage_entries(self, table.move(entries, start, math.min(start + limit - 1, #entries), 1, {}))
  end
  local staged = wanted_entries(self, true, files)
  for _, file in ipairs(files or {}) do  -- what the status does not name is ignored, or a mistake
    if not is_in(self, file, staged) then layer.call("add_files_to_index", self.path, file) end
  end
end

-- repo:unstage([files]): the working tree stays as it is; everything when left out. The function
-- takes patterns once there is a commit.
function Repository:unstage(files)
  local has_commit = layer.find_commit(self, "HEAD")
  for _, entry in ipairs(wanted_entries(self, true, as_list(files))) do
    local path = has_commit and entry.path:gsub("[*?%[\\]", "\\%0") or entry.path
    layer.call("remove_files_from_index", self.path, path)
  end
  local left = wanted_entries(self, true, as_list(files))[1]
  if left then layer.refuse("unstage", "'%s' is still staged", left.path) end
end

-- The commit that a merge with conflicts is to be concluded with, as long as HEAD has not moved.
function layer.pending_merge(repo)
  local merge = repo.merging
  return merge and merge.head == layer.find_commit(repo, "HEAD") and merge.other or nil
end

-- Commits what is staged and answers the new id. do_commit answers 0 also when no commit was made,
-- which HEAD tells.
function layer.commit(repo, message, name, email, parent)
  local before = layer.find_commit(repo, "HEAD")
  local result = layer.call("do_commit", repo.path, "HEAD", name, email, message, parent)
  local after = layer.find_commit(repo, "HEAD")
  if after == before then layer.fail("do_commit", result, "no commit was made") end
  return after
end

-- repo:commit(message, [{name=, email=, merge=}]) -> id: commits what is staged. After a merge with
-- conflicts it is the merge commit; another object than that of the merge is told what was merged.
function Repository:commit(message, who)
  layer.refuse_conflicts(self, "commit")
  local merged = layer.options(who).merge
  local other = merged and self:resolve(merged) or layer.pending_merge(self)
  if not other and not self:status { staged = true }() then
    layer.refuse("commit", "there is nothing to commit: nothing is staged")
  end
  local name, email = layer.identity(self, who)
  local id = layer.commit(self, message, name, email, other)
  self.merging = nil
  return id
end

-- Rebases, and going on with what has stopped.
local core, layer = ...
local Repository = layer.Repository

local function first_line(path)
  local file = io.open(path)
  if not file then return nil end
  local line = file:read("l")
  file:close()
  return line
end

-- The folder of git's own files. In a linked working tree `.git` is a file that names it.
local function git_folder(repo)
  local link = first_line(repo.path .. "/.git")
  local target = link and link:match("^gitdir: (.+)")
  if not target then return repo.path .. "/.git" end
  return target:sub(1, 1) == "/" and target or repo.path .. "/" .. target
end

-- Where a rebase is that has stopped: {number=, start=, commit=}; nil when there is none.
function layer.rebase_state(repo)
  local folder = git_folder(repo) .. "/rebase-merge/"
  local number = first_line(folder .. "msgnum")
  if not number then return nil end
  return { number = number, start = first_line(folder .. "orig-head"),
           commit = first_line(folder .. "cmt." .. number) }
end

-- The branch that is being rebased. git's files do not name it: it is still where it started.
local function rebased_branch(repo, state, action)
  local found
  for ref in repo:refs() do
    if ref.kind == "branch" and ref.id == state.start then
      if found and not repo.rebasing then
        layer.refuse(action, "'%s' and '%s' are both where the rebase started: set repo.rebasing to "
                     .. "the branch that is rebased", found, ref.name)
      end
      found = ref.name
    end
  end
  return repo.rebasing or found
         or layer.refuse(action, "the branch that is rebased is not where it started any more")
end

-- What a rebase has come to: it is done, or it has stopped at another commit than before.
local function outcome(repo, name, result, before)
  local state = layer.rebase_state(repo)
  if result.success and not state then
    repo.rebasing = nil
    return { state = "rebased", files = {} }
  end
  if not state or result.success or before and before.number == state.number then
    layer.fail(name, result)
  end
  local files = layer.conflicts(repo)
  repo.stopped_at = layer.find_commit(repo, "HEAD")
  return { state = files[1] and "conflicts" or "stopped", files = files, commit = state.commit }
end

-- repo:rebase(onto, [{name=, email=}]) -> {state=, files=, commit=}: the branch that HEAD is on.
-- The state is "rebased", "up to date", "conflicts" (at the commit named: edit and stage the files,
-- then repo:continue()) or "stopped" (the commit named changes nothing any more: repo:skip()).
function Repository:rebase(onto, who)
  local branch = layer.current_branch(self) or layer.refuse("rebase", "HEAD is on no branch")
  layer.refuse_unfinished(self, "rebase")
  local name, email = layer.identity(self, who)
  local target = self:resolve(onto)
  local reached = self:commits { id = target }()
  if reached and reached.on_branch then return { state = "up to date", files = {} } end
  local result = core.call("rebase", self.path, self:resolve("HEAD"), target, name, email)
  if layer.rebase_state(self) then self.rebasing = branch end
  return outcome(self, "rebase", result)
end

local function operate(repo, word, action, who)
  local state = layer.rebase_state(repo) or layer.refuse(action, "no rebase is in progress")
  local name, email = layer.identity(repo, who)
  local branch = rebased_branch(repo, state, action)
  local result = core.call("rebase_operation", repo.path, word, branch, name, email)
  return outcome(repo, "rebase_operation", result, state)
end

-- The commit that a rebase has stopped at, with the author and message that it is to have again.
local function stopped_commit(repo, state)
  return repo:commits { id = state.commit }()
         or layer.refuse("continue", "the commit %s, at which the rebase stopped, is not found",
                         state.commit)
end

-- repo:continue([{name=, email=}]) -> as repo:rebase: goes on after conflicts. What is staged is
-- committed first, with the author and message of the commit that stopped: what is only staged
-- would not be applied.
function Repository:continue(who)
  local state = layer.rebase_state(self) or layer.refuse("continue", "no rebase is in progress")
  layer.refuse_conflicts(self, "continue")
  for entry in self:status { staged = false } do
    if entry.status ~= "new" then
      layer.refuse("continue", "'%s' has changes that are not staged", entry.path)
    end
  end
  rebased_branch(self, state, "continue")
  if self:status { staged = true }() then
    local commit = stopped_commit(self, state)
    layer.commit(self, commit.message, commit.author, commit.email)
  elseif self.stopped_at == self:resolve("HEAD") then
    layer.refuse("continue", "the commit that stopped has left nothing to commit: repo:skip() leaves "
                 .. "it out")
  end
  return operate(self, "CONTINUE", "continue", who)
end

-- repo:skip([{name=, email=}]) -> as repo:rebase: leaves out the commit that stopped, and drops what
-- was changed since.
function Repository:skip(who) return operate(self, "SKIP", "skip", who) end

-- repo:abort([{name=, email=}]) -> id: goes back to where the rebase started.
function Repository:abort(who)
  operate(self, "ABORT", "abort", who)
  return self:resolve("HEAD")
end

-- Repositories elsewhere. Options: user, password, public_key, private_key, certificate_file,
-- default_credentials (true for the platform's own), and for fetch refspec.
local core, layer = ...
local Repository = layer.Repository

local none = " "  -- how an argument is left out that others follow

local function credentials(options)
  return options.user or none, options.password or none, options.public_key or none,
         options.private_key or none
end
local function certificate(options)
  return options.certificate_file or none, options.default_credentials and 1 or 0
end

-- The four keys, and what stands behind them.
local function arguments(options, ...)
  local user, password, public_key, private_key = credentials(options)
  local list = { user, password, public_key, private_key, ... }
  for _, value in ipairs { certificate(options) } do list[#list + 1] = value end
  return table.unpack(list)
end

-- git.clone(url, folder, [options]) -> the repository.
function git.clone(url, folder, options)
  layer.call("do_clone", url, folder, arguments(layer.options(options)))
  return layer.open(folder)
end

-- git.init(folder, [{branch = "main", url = of "origin"}]) -> the repository.
function git.init(folder, options)
  options = layer.options(options)
  layer.call("init_repo", folder, options.branch or "main", options.url)
  return layer.open(folder)
end

-- repo:fetch([options])
function Repository:fetch(options)
  options = layer.options(options)
  layer.call("do_fetch", self.path, arguments(options, options.refspec or none))
end

local function branch_of(repo, action)
  return layer.current_branch(repo) or layer.refuse(action, "HEAD is on no branch with a commit")
end

-- repo:pull([options]) -> as repo:merge.
function Repository:pull(options)
  local branch = branch_of(self, "pull")
  layer.refuse_unfinished(self, "pull")
  local before = self:resolve("HEAD")
  local result = core.call("do_pull", self.path, arguments(layer.options(options)))
  local other = layer.find_commit(self, "refs/remotes/origin/" .. branch)
  if result.code == -2 then return layer.conflicted(self, other) end
  if not result.success then layer.fail("do_pull", result) end
  if not other then layer.fail("do_pull", result, "origin has no branch '" .. branch .. "'") end
  local after = self:resolve("HEAD")
  local state = after == before and "up to date" or after == other and "fast-forward" or "merged"
  return { state = state, files = {} }
end

-- repo:push([options]) -> id. Whether the server took it shows in the branch that is kept of origin.
function Repository:push(options)
  local branch = branch_of(self, "push")
  local result = layer.call("do_push", self.path, arguments(layer.options(options)))
  local here, there = self:resolve("HEAD"), layer.find_commit(self, "refs/remotes/origin/" .. branch)
  if there and there ~= here then
    layer.fail("do_push", result, "the server did not take the branch '" .. branch .. "'")
  end
  return here
end

-- Calls of the module's functions, and the errors that they become.
local core, layer = ...

-- An error is a table: `function` (the module's, or the method that refused), `code`, `message` (the
-- reason, one sentence), `log` (the lines that the call logged).
local Error = core.error
Error.__index = Error
Error.__name = "git error"

function Error:__tostring()
  local name = self["function"]
  return self.code == nil and self.message or ("%s failed: %s"):format(name, self.message)
end

-- Raises an error for what the layer refuses by itself, before or after the calls.
function layer.refuse(name, message, ...)
  error(setmetatable({ ["function"] = name, message = message:format(...), log = {} }, Error), 0)
end

-- The errors in the lines of a log, without what they begin with.
local function reason(log)
  local errors = {}
  for _, line in ipairs(log) do
    local text = line:match("^ERROR: (.*)")
    if text then errors[#errors + 1] = text:gsub("^Return code from GIT is %([^)]*%)%. ", "") end
  end
  return errors[1] and table.concat(errors, "; ")
end

-- Raises an error for a call that failed, or that succeeded and did not do what it was asked for.
function layer.fail(name, result, message)
  local text = reason(result.log) or message or result.meaning or "the module does not say why"
  error(setmetatable({ ["function"] = name, code = result.code, message = text, log = result.log },
                     Error), 0)
end

local getinfo = debug.getinfo

-- The options of a method, which may be left out. The error tells the place of the caller.
function layer.options(options)
  if options == nil then return {} end
  if type(options) == "table" then return options end
  local level = 2
  while (getinfo(level, "S") or { source = "" }).source:find("^=git%.") do level = level + 1 end
  error("the options are a " .. type(options) .. ", not a table", level)
end

-- Calls a function of the module; what its code or an error in its log tells as a failure is raised.
function layer.call(name, ...)
  local result = core.call(name, ...)
  if not result.success or reason(result.log) then layer.fail(name, result) end
  return result
end

-- shorten(traceback) -> the same without the calls inside of the layer, which say nothing to those
-- who wrote the program; empty when no other call is left.
function core.shorten(traceback)
  local lines, has_place = {}, false
  for line in (traceback .. "\n"):gmatch("(.-)\n") do
    if line:find("^\tgit%.%l+:") then
      while lines[1] and lines[#lines]:find("^\t%[C%]") do lines[#lines] = nil end
    else
      lines[#lines + 1] = line
    end
  end
  for _, line in ipairs(lines) do has_place = has_place or line:find("^\t[^(]") end
  return has_place and "\n" .. table.concat(lines, "\n") or ""
end

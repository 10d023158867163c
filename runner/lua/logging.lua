-- The lines of the host's log as values.

-- host.capture(function, argument...) -> the list of the lines that are logged while the function
-- runs, as they would be shown, and what the function answers. An error goes through.
function host.capture(work, ...)
  local lines = {}
  local before = host.on_log(function(severity, text)
    lines[#lines + 1] = severity == "plain" and text or severity:upper() .. ": " .. text
  end)
  local _ <close> = setmetatable({}, { __close = function() host.on_log(before) end })
  return lines, work(...)
end

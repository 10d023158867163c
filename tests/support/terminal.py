# Types at a command as a person would: terminal.py COMMAND [TEXT KEYS]... waits for each text on
# the terminal and then types the keys beside it, in which ^C, ^D, ^I, ^M and ^P are those keys.
import os
import pty
import select
import sys
import time

child, terminal = pty.fork()
if child == 0:
    words = sys.argv[1].split()
    os.execvp(words[0], words)
seen = ""
for text, keys in zip(sys.argv[2::2], sys.argv[3::2]):
    end = time.monotonic() + 30
    while text not in seen:
        try:
            more = select.select([terminal], [], [], max(0, end - time.monotonic()))[0] and os.read(terminal, 4096)
        except OSError:  # the command has ended
            more = b""
        if not more:
            sys.exit(f"{text} did not come, but {seen[-1000:]}")
        seen += more.decode(errors="replace")
    seen = seen.split(text, 1)[1]
    for letter in "CDIMP":
        keys = keys.replace("^" + letter, chr(ord(letter) - ord("@")))
    os.write(terminal, keys.encode())
print(os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]))

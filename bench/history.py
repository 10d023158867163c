"""Writes a history for git fast-import: COMMITS FILES [FOLDERS]. Each commit changes one to four files."""
import random
import sys

commits, files = int(sys.argv[1]), int(sys.argv[2])
folders = int(sys.argv[3]) if len(sys.argv) > 3 else 17
random.seed(1)
contents = [[f"line {line} of {file}" for line in range(random.randint(1, 120))] for file in range(files)]
time, parts = 1_400_000_000, []
for commit in range(1, commits + 1):
    time += random.randint(1, 3000)
    person = f"Person {commit % 60} <p{commit % 60}@example.org> {time} +0000"
    message = f"Change {commit}\n\nA longer text about change {commit}, which tells why.\n"
    parts.append(f"commit refs/heads/main\nmark :{commit}\nauthor {person}\ncommitter {person}\n")
    parts.append(f"data {len(message)}\n{message}" + (f"from :{commit - 1}\n" if commit > 1 else ""))
    if commit > 50 and commit % 20 == 0:
        parts.append(f"merge :{commit - random.randint(2, 40)}\n")
    changed = range(files) if commit == 1 else random.sample(range(files), random.randint(1, min(4, files)))
    for file in changed:
        lines = contents[file]
        for _ in range(random.randint(1, 6)):
            if len(lines) < 2 or random.random() < 0.5:
                lines.insert(random.randint(0, len(lines)), f"new in {commit}")
            else:
                lines.pop(random.randrange(len(lines)))
        text = "\n".join(lines) + "\n"
        parts.append(f"M 100644 inline folder{file % folders}/file{file}\ndata {len(text)}\n{text}\n")
        del lines[120:]
    if len(parts) > 10_000:
        sys.stdout.write("".join(parts))
        parts.clear()
sys.stdout.write("".join(parts) + "done\n")

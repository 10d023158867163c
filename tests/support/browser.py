# Uses pages of `uwugit graph --html` in a browser as a person does, and compares what they show with what git tells:
# browser.py REPO PAGE MANY PAGE_OF_MANY. The browser has no window and is told what to do through a pipe.
import json
import os
import re
import select
import signal
import subprocess
import sys
import tempfile

PATIENCE = 60  # seconds; a loaded machine needs some of them
KEYS = {"Enter": 13, "Escape": 27, "End": 35, "ArrowDown": 40}


class Browser:
    def __init__(self, folder):
        (their_in, our_out), (our_in, their_out) = os.pipe(), os.pipe()
        words = ["chromium", "--headless", "--remote-debugging-pipe", "--no-first-run", "--disable-gpu",
                 "--disable-dev-shm-usage", "--disable-background-networking", "--disable-component-update",
                 "--host-resolver-rules=MAP * ~NOTFOUND", "--window-size=1280,800", "--user-data-dir=" + folder]
        if os.geteuid() == 0:
            words.append("--no-sandbox")  # Chromium refuses to run as root with one.
        self.errors = folder + "/errors"
        self.process = os.posix_spawnp(words[0], words, os.environ, setpgroup=0, file_actions=[
            (os.POSIX_SPAWN_DUP2, their_in, 3), (os.POSIX_SPAWN_DUP2, their_out, 4),
            (os.POSIX_SPAWN_OPEN, 2, self.errors, os.O_WRONLY | os.O_CREAT, 0o600)])
        os.close(their_out)  # So that reading ends when the browser does.
        self.pipes, self.unread, self.number, self.events, self.session = (our_in, our_out), b"", 0, [], {}
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = {"sessionId": self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]}
        for domain in "Log", "Network", "Page", "Runtime":
            self.call(domain + ".enable")

    def end(self):
        os.killpg(self.process, signal.SIGKILL)
        os.waitpid(self.process, 0)

    def call(self, method, **parameters):
        self.number += 1
        message = {"id": self.number, "method": method, "params": parameters, **self.session}
        os.write(self.pipes[1], json.dumps(message).encode() + b"\0")
        while True:
            while b"\0" not in self.unread:
                assert select.select([self.pipes[0]], [], [], 2 * PATIENCE)[0], f"no answer to {method}"
                more = os.read(self.pipes[0], 1 << 20)
                assert more, open(self.errors).read()
                self.unread += more
            data, self.unread = self.unread.split(b"\0", 1)
            answer = json.loads(data)
            if answer.get("id") == self.number:
                is_bad = {"error", "errorText", "exceptionDetails"} & {*answer, *answer.get("result", [])}
                assert not is_bad, (message, answer)
                return answer["result"]
            self.events.append(answer)

    def value(self, expression):
        told = self.call("Runtime.evaluate", expression=expression, returnByValue=True, awaitPromise=True)
        return told["result"].get("value")

    # Waits until the page has the value.
    def expect(self, expression, wanted):
        told = self.value("new Promise(done => { const end = performance.now() + %d, look = () => { const told = %s;"
                          "if (JSON.stringify(told) === JSON.stringify(%s) || performance.now() > end) done(told);"
                          "else requestAnimationFrame(look); }; look(); })"
                          % (1000 * PATIENCE, expression, json.dumps(wanted)))
        assert told == wanted, f"{expression}\n   is {told}\n  not {wanted}"

    def open(self, file):
        self.call("Page.navigate", url="file://" + os.path.abspath(file))
        self.expect("document.readyState", "complete")

    def type(self, *keys):
        for key in keys:
            words = {"windowsVirtualKeyCode": KEYS[key]} if key in KEYS else {"text": key}
            self.call("Input.dispatchKeyEvent", type="keyDown", key=key, **words)
            self.call("Input.dispatchKeyEvent", type="keyUp", key=key)

    # At a part of the element's width.
    def mouse(self, selector, kind, across=0.5, **words):
        left, top, width, height = self.value("(box => [box.x, box.y, box.width, box.height])(document.querySelector("
                                              f"{json.dumps(selector)}).getBoundingClientRect())")
        self.call("Input.dispatchMouseEvent", type="mouse" + kind, x=left + across * width, y=top + height / 2,
                  button="left", clickCount=1, **words)


def git(repo, *words):
    return subprocess.run(["git", "-C", repo, *words], check=True, capture_output=True).stdout.decode().rstrip("\n")


def texts(selector):
    return f"[...document.querySelectorAll({json.dumps(selector)})].map(e => e.textContent)"


IDS = texts(".row .id:not(.day)")
CHOSEN = texts(".row.chosen .id:not(.day)")


# The commit in the row is clicked. What is told of it, its files and diff are git's.
def look_at(browser, repo, commit):
    for kind in "Pressed", "Released":
        browser.mouse(f"#row{browser.value(IDS).index(commit[:7])}", kind)
    told = git(repo, "show", "-s", "--date=format:Committed %F %R UTC", "--format=%H%n%an <%ae>%n%cd%n%p%x01%s%x01%b%x01%P", commit)
    told, subject, body, parents = told.split("\1")
    *told, short = told.split("\n")
    browser.expect(texts("#shown > div"), told + [f"Parents: {short} " if short else "No parents"])
    browser.expect("document.querySelector('#shown h2').lastChild.textContent", subject)
    browser.expect(texts("#shown .message") + ".join()", body.rstrip("\n"))
    between = "diff", "--no-renames", parents.split()[0] if parents else git(repo, "mktree"), commit
    files = [re.fullmatch(r"(.*)  \w+  \+(\d+) −(\d+)", text) for text in browser.value(texts("#shown summary"))]
    assert ["\t".join(file.group(2, 3, 1)) for file in files] == git(repo, *between, "--numstat").splitlines(), files
    diff = git(repo, *between).replace("\t\n", "\n")  # Git has a tab behind a name with spaces, libgit2 has none.
    browser.expect(texts(".diff") + ".join('')", diff and diff + "\n")


def use(browser, repo, page):
    browser.open(page)
    commits = git(repo, "rev-list", "--all").split()
    assert sorted(browser.value(IDS)) == sorted(commit[:7] for commit in commits)
    for commit in commits:
        look_at(browser, repo, commit)
    browser.type("Escape")
    browser.expect("document.querySelector('#shown').hidden", True)
    ids = browser.value(IDS)
    browser.type("/", *"no such text")
    browser.expect(IDS, [])
    browser.type("Escape", "End", "k", "ArrowDown", "k")
    browser.expect(CHOSEN, ids[-2:-1])
    browser.type("Enter")
    browser.expect(texts("#shown > .id") + "[0].slice(0, 7)", ids[-2])
    for wanted, option in ("né 3", "author=Né 3"), ("N5@X", "author=n5@x"), ("<B>4", "grep=<b>4"), ("BODY", "grep=body"):
        browser.type("/", *wanted, "Enter")
        browser.expect(IDS, git(repo, "log", "--all", "--format=%h", "--" + option).split())
        browser.expect(texts("mark") + "[0].toLowerCase()", wanted.lower())
    browser.type("/", *commits[3][:9])
    browser.expect(IDS, [commits[3][:7]])
    for scheme in "light", "dark":
        browser.call("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])
        browser.expect("['color', 'backgroundColor'].map(name => getComputedStyle(document.body)[name].match(/\\d+/g)[0] > 127)",
                       [scheme == "dark", scheme == "light"])


# What is visible is git's, and nothing else is in the page.
def use_many(browser, repo, page):
    browser.open(page)
    ids, times = zip(*(line.split() for line in git(repo, "log", "--format=%h %at").splitlines()))
    oldest, newest = int(times[-1]), int(times[0])
    browser.mouse("#list", "Wheel", deltaX=0, deltaY=1e8)
    browser.expect(IDS + ".at(-1)", ids[-1])
    for part in 0.25, 0.8:
        for kind, across in ("Pressed", 0.5), ("Moved", part), ("Released", part):
            browser.mouse("#weeks", kind, across, buttons=1)
        there = int(times[ids.index(browser.value(CHOSEN)[0])])
        assert abs(there - oldest - part * (newest - oldest)) < 9 * 86400, (part, there)
        shown = browser.value(IDS)
        first = ids.index(shown[0])
        assert shown == [*ids[first:first + len(shown)]], "not in git's order"
        browser.expect("document.querySelectorAll('*').length < 1500", True)


with tempfile.TemporaryDirectory(dir=os.getcwd(), ignore_cleanup_errors=True) as folder:
    browser = Browser(folder)
    try:
        use(browser, *sys.argv[1:3])
        use_many(browser, *sys.argv[3:])
    finally:
        browser.end()
asked = {event["params"]["request"]["url"] for event in browser.events if event["method"] == "Network.requestWillBeSent"}
assert asked == {"file://" + os.path.abspath(page) for page in sys.argv[2::2]}, asked
bad = [event for event in browser.events if event["method"] in ("Runtime.exceptionThrown", "Log.entryAdded")]
assert not bad, bad
print("shown as git tells")

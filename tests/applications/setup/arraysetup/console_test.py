#!/usr/bin/env python3
"""The wizard through its real binary in a real terminal: each scenario runs scripts/demo in
a tmux pane of its own (test bed, cellsim, apimgrsim, the wizard's host name and files), types
what an operator types, and holds the screens, the exit status and what cellsim received
against the texts written out here. Scenarios run side by side; most of their time is
discovery waiting out its timeout.
usage: console_test.py BUILD_DIR SCENARIO...   (exit 77: skipped)"""
import json, os, re, shutil, subprocess, sys, tempfile, threading, time

OPEN = {}  # scenario name: its console
ROOT = os.path.abspath(os.path.join(os.path.dirname(__file__), *[".."] * 4))
WAIT = 240  # seconds, for any one screen: a discovery waits out about 30 s, slower under ASan


class Failure(Exception):
    pass


class Console:
    """One wizard run: scripts/demo in a 250x60 tmux pane, with its logs in a directory of
    its own."""

    def __init__(self, build, name, *demo_args, cell=None):
        self.name, self.dir = name, tempfile.mkdtemp(prefix=f"console-{name}-")
        self.sock, self.logs = os.path.join(self.dir, "tmux.sock"), os.path.join(self.dir, "logs")
        conf = os.path.join(self.dir, "tmux.conf")
        with open(conf, "w") as f:
            f.write("set -g remain-on-exit on\nset -g history-limit 1000\n")
        args = [os.path.join(ROOT, "scripts/demo"), "--no-build", "--build", build,
                "--logs", self.logs]
        if cell is not None:
            path = os.path.join(self.dir, "cell.ini")
            with open(path, "w") as f:
                f.write(cell)
            args += ["--cell", path]
        command = " ".join(f"'{a}'" for a in [*args, *demo_args])
        self.tmux("-f", conf, "new-session", "-d", "-x", "250", "-y", "60", "-s", "w",
                  f"{command}; echo $? >'{self.dir}/status'")
        self.pid = int(self.tmux("display", "-p", "-t", "w", "#{pane_pid}"))
        OPEN[name] = self

    def tmux(self, *args):
        return subprocess.run(["tmux", "-S", self.sock, *args], check=True, capture_output=True,
                              text=True).stdout

    def screen(self, history=False):
        """The pane's lines, with what scrolled or was cleared off it when asked: tmux keeps
        a cleared screen in its history."""
        more = ["-S", "-"] if history else []
        lines = [l.rstrip() for l in self.tmux("capture-pane", "-p", *more, "-t", "w").split("\n")]
        while lines and not lines[-1]:
            lines.pop()
        return lines

    def wait(self, test, what, history=False):
        """The screen once test(screen) holds; fails with the screen after WAIT seconds."""
        deadline = time.monotonic() + WAIT
        while time.monotonic() < deadline:
            s = self.screen(history)
            if test(s):
                return s
            time.sleep(0.1)
        raise Failure(f"{self.name}: no {what} within {WAIT} s; the screen:\n" + "\n".join(s))

    def expect(self, text, top=False):
        """Waits until the lines of text stand one under the other: at the top of the screen,
        or anywhere since the pane began. Blind to trailing blanks, which tmux drops."""
        want = [l.expandtabs().rstrip() for l in text.split("\n")]
        at = lambda s, i: s[i:i + len(want)] == want
        self.wait(lambda s: at(s, 0) if top else any(at(s, i) for i in range(len(s))),
                  "screen:\n" + text, history=not top)

    def answer(self, *pairs):
        """For each label and text: waits for the prompt of that label with nothing typed
        after it yet, then types the text and Enter."""
        for label, text in zip(pairs[::2], pairs[1::2]):
            prompt = re.compile(re.escape(label) + r"( \[[^]]*\])? ?:$")
            self.wait(lambda s: bool(s) and bool(prompt.search(s[-1])), f"prompt {label!r}")
            self.type(text)

    def type(self, *lines):
        for line in lines:
            if line:
                self.tmux("send-keys", "-t", "w", "-l", line)
            self.tmux("send-keys", "-t", "w", "Enter")

    def status(self):
        """The demo's exit status, which is the wizard's, once the pane has written it."""
        path = os.path.join(self.dir, "status")
        self.wait(lambda s: os.path.exists(path) and open(path).read().endswith("\n"),
                  "end of the wizard")
        return int(open(path).read())

    def events(self, log, kind):
        with open(os.path.join(self.logs, log)) as f:
            return [e for e in map(json.loads, filter(str.strip, f)) if e.get("event") == kind]

    def close(self, ok):
        """Ends the pane and waits until its process group (the demo and all it started) has
        gone: the demo tears its bed down on the hang-up."""
        subprocess.run(["tmux", "-S", self.sock, "kill-server"], capture_output=True)
        def alive(pid):  # a process tmux has not reaped yet has ended too
            try:
                fields = open(f"/proc/{pid}/stat").read().rsplit(")", 1)[1].split()
                return fields[0] != "Z" and int(fields[2]) == self.pid
            except (OSError, IndexError, ValueError):
                return False
        for _ in range(300):
            if not any(alive(p) for p in os.listdir("/proc") if p.isdigit()):
                break
            time.sleep(0.1)
        if ok:
            shutil.rmtree(self.dir, ignore_errors=True)
        else:
            print(f"{self.name}: logs kept in {self.dir}")


def check(ok, what):
    if not ok:
        raise Failure(what)


BANNER = """
=======   Setup Utility   =======

The setup utility establishes the initial
network and storage configuration for a Storage Cell

---Press Enter To Continue---"""
GATHERING = "Gathering required information for this controller... "
SEARCHING = """
Searching for additional controllers on the network...
This may take up to 60 seconds..."""
FOUND = "Setup has found the following controllers that require configuration:"
CONTINUE = "Do you wish to continue with configuration [Y/n]?"
FAILED = "Setup failed with the following error:\n "


def started(c):
    """The banner, then Enter: the state check comes next."""
    c.expect(BANNER, top=True)
    c.type("")


def failure_at_check(c, text):
    started(c)
    c.expect(BANNER + "\n\n" + GATHERING + "\n" + FAILED + text)


def pair(*top, bottom=()):
    """cellsim's INI text for a pair like tools/cellsim/examples/pair.ini, with more keys."""
    def controller(name, n, primary, more):
        return "\n".join([f"[controller {name}]", f"mac = 02:ce:11:00:01:0{n}",
                          f"serial = 200000{n}", "service_tag = CONSOLE2", f"primary = {primary}",
                          f"canister = {n}", "licensed_controllers = 2", *more, ""])
    return "[cellsim]\ninterface = ctl0\n" + controller("top", 1, "true", top) + \
        controller("bottom", 2, "false", bottom)


# ---- The failure table, one row each. ---------------------------------------------------

def foreign_platform(new):
    c = new("--target-type", "7")
    c.expect("The Setup Wizard is not compatible with this version of controller.\n"
             "Please contact Kelt Support for further assistance.")
    check(c.status() == 0, "a foreign platform leaves with 0")
    check(c.events("apimgrsim.jsonl", "request") == [], "the wizard asked the API manager")


def in_service(new):
    c = new("--mode", "Normal")
    failure_at_check(c, "The Storage Cell has already been initialized.  Please use Skylark "
                        "for further management operations.")
    check(c.status() == 3, "a system in service leaves with 3")
    check(c.events("cellsim.jsonl", "rx") == [], "a frame reached the controllers")


def manager_down(new):
    c = new("--mode", "none")
    failure_at_check(c, "Unable to discover controller information.  A serious error has "
                        "occurred.  Please contact KELT support.")
    check(c.status() == 0, "the serious error leaves with 0: nothing sets the code")


def not_first_controller(new):
    # The peer sorts second in its array, so no array has it first.
    c = new("--host", "SC2000002.lab.test")
    started(c)
    c.expect(GATHERING + "\n" + SEARCHING + "\n" + FAILED +
             "Setup was unable to discover this array")
    check(c.status() == 1, "no array holding this controller leaves with 1")


def peer_silent_then_declined(new):
    c = new(cell=pair(bottom=["answer_first = 0"]))
    started(c)
    c.expect(SEARCHING + "\n" + FOUND + "\nSerial Number # 2000001\n" + CONTINUE)
    c.type("n")
    check(c.status() == 0, "a declined run leaves with 0")
    s = c.screen(history=True)  # the demo's own lines follow, so a blank line stays a line
    i = s.index(CONTINUE + "n") if CONTINUE + "n" in s else -9
    check(s[i + 1:i + 3] == [FAILED.split("\n")[0], ""], f"the failure line: {s[i:i + 3]}")


FIELDS = ["Storage Cell Name", "Primary Management Address(IPv4)", "Netmask (IPv4)",
          "Default Gateway (IPv4)", "Domain Name", "Primary DNS Server (IPv4)",
          "Secondary DNS Server (IPv4)", "Secondary Management Address(IPv4)"]
EMAIL = "Default Admin E-Mail Address"
FIRST, SECOND = "Enter A New Password for the Admin User", "Re-Enter The Password"
REVIEW = "Do you wish to continue with this configuration [Y/n]?"
GOOD = ["Cell", "10.20.1.10", "255.255.255.0", "10.20.1.1", "lab.test", "10.20.1.2", "10.20.1.3"]


def through_review(c, addresses):
    """Yes, good settings with these controller addresses, and yes again at the review."""
    c.expect(CONTINUE)
    c.type("y")
    c.answer(*[x for pair in zip(FIELDS, GOOD) for x in pair])
    for address in addresses:
        c.answer(FIELDS[7], address)
    c.answer(EMAIL, "a@lab.test", FIRST, "pw", SECOND, "pw")
    c.expect(REVIEW)
    c.type("y")


def refused_by_validation(new):
    c = new()
    started(c)
    through_review(c, ["10.20.1.11", "10.20.1.11"])
    c.expect(FAILED + "Identical Controller IPv4 Addresses [10.20.1.11] - [10.20.1.11].")
    check(c.status() == 2, "a configuration the model refuses leaves with 2")
    check({e["op"] for e in c.events("cellsim.jsonl", "rx")} == {"HELLO_REQ"},
          "a refused configuration reached the controllers")


def step_failed(new):
    c = new(cell=pair("steps = SubmitLicense:Complete ConfigureDisks:Failed",
                      "step_error = Disk pool creation failed"))
    started(c)
    through_review(c, ["10.20.1.11", "10.20.1.12"])
    c.expect("==== Configuring the Storage Cell ==== \n" + FAILED + "Disk pool creation failed")
    check(c.status() == 2, "a failed step leaves with 2")


# ---- A whole run with a pair. -----------------------------------------------------------

FIRST_PASS = """
 =======  Set System Information ======= 

Storage Cell Name [] :Demo Cell
Primary Management Address(IPv4) :10.20.1.300
\t\t '10.20.1.300' is not a valid IP
Primary Management Address(IPv4) :10.20.1.10
Netmask (IPv4) [255.255.255.0] :
Default Gateway (IPv4) [10.20.1.1] :
Domain Name [] :lab.test
Primary DNS Server (IPv4) :10.20.1.2
Secondary DNS Server (IPv4) :10.20.1.3

 =======  Set Controller Specific Information (SN # 2000001)  ======= 

Secondary Management Address(IPv4) :10.20.1.11

 =======  Set Controller Specific Information (SN # 2000002)  ======= 

Secondary Management Address(IPv4) :10.20.1.12

=======  Set User Information =======

Default Admin E-Mail Address [] :admin@lab.test
Enter A New Password for the Admin User: Re-Enter The Password: The passwords did not match. Try again.
Enter A New Password for the Admin User: Re-Enter The Password: """

SECOND_PASS = """
 =======  Set System Information ======= 

Storage Cell Name [Demo Cell] :Lab Cell
Primary Management Address(IPv4) [10.20.1.10] :
Netmask (IPv4) [255.255.255.0] :
Default Gateway (IPv4) [10.20.1.1] :
Domain Name [lab.test] :
Primary DNS Server (IPv4) [10.20.1.2] :
Secondary DNS Server (IPv4) [10.20.1.3] :

 =======  Set Controller Specific Information (SN # 2000001)  ======= 

Secondary Management Address(IPv4) [10.20.1.11] :

 =======  Set Controller Specific Information (SN # 2000002)  ======= 

Secondary Management Address(IPv4) [10.20.1.12] :

=======  Set User Information =======

Default Admin E-Mail Address [admin@lab.test] :admin@lab.test
Enter A New Password for the Admin User: Re-Enter The Password: """


def review(name, domain):
    return f"""
=======  Review Configuration Data   =======


=======  System Information =======

Storage Cell Name : {name}
Primary Management Address(IPv4) : 10.20.1.10
Netmask (IPv4) : 255.255.255.0
Default Gateway (IPv4) : 10.20.1.1
Domain Name : {domain}
Primary DNS Server (IPv4) : 10.20.1.2
Secondary DNS Server (IPv4) : 10.20.1.3

=======  Controller SN # 2000001  ======= 

Secondary Management Address(IPv4) : 10.20.1.11

=======  Controller SN # 2000002  ======= 

Secondary Management Address(IPv4) : 10.20.1.12

=======  User Information =======

Default Admin E-Mail Address : admin@lab.test

============================================

""" + REVIEW

RUN = """
Storage Cell will now begin its configuration process.
Please be patient as this operation may take up to 10 minutes
==== Configuring the Storage Cell ==== """
CLOSING = """

Configuration has successfully completed!
You may now use Skylark to connect to this array
(use the following IP Address: 10.20.1.10)"""


def whole_run(new):
    # Discovery offers the netmask and gateway; each step in progress lasts several polls.
    offered = ["eth0_netmask = 255.255.255.0", "eth0_gateway = 10.20.1.1"]
    steps = ["steps = SubmitLicense:InProgress JoinControllers:ConfiguredNotRun"] * 4 + \
            ["steps = SubmitLicense:Complete JoinControllers:InProgress"] * 4 + \
            ["steps = SubmitLicense:Complete JoinControllers:Complete"]
    c = new(cell=pair(*offered, *steps, bottom=offered))
    started(c)
    t = {"enter": time.monotonic()}
    c.expect(BANNER + "\n\n" + GATHERING + "\n" + SEARCHING + "\n" + FOUND +
             "\nSerial Number # 2000001\nSerial Number # 2000002\n" + CONTINUE, top=True)
    t["found"] = time.monotonic()
    c.type("y")
    c.answer(FIELDS[0], "Demo Cell", FIELDS[1], "10.20.1.300", FIELDS[1], "10.20.1.10",
             FIELDS[2], "", FIELDS[3], "", FIELDS[4], "lab.test", FIELDS[5], "10.20.1.2",
             FIELDS[6], "10.20.1.3", FIELDS[7], "10.20.1.11", FIELDS[7], "10.20.1.12",
             EMAIL, "admin@lab.test", FIRST, "one", SECOND, "two", FIRST, "Sim-Pass-1")
    c.expect(FIRST_PASS, top=True)
    c.answer(SECOND, "Sim-Pass-1")
    c.expect(review("Demo Cell", "lab.test"), top=True)
    c.type("n")
    # The second pass offers the first pass's answers; a bare Enter empties a text field.
    c.answer(FIELDS[0], "Lab Cell", *[x for f in FIELDS[1:] + FIELDS[7:] for x in (f, "")],
             EMAIL, "admin@lab.test", FIRST, "Sim-Pass-2")
    c.expect(SECOND_PASS, top=True)
    c.type("Sim-Pass-2")
    c.expect(review("Lab Cell", ""), top=True)
    c.type("")
    t["accepted"] = time.monotonic()
    # As tmux shows them, without trailing blanks.
    run, closing = (re.sub(r" +\n", "\n", x).rstrip(" ") for x in (RUN, CLOSING))
    progress = re.compile(r"(Configuring License|Joining Controllers) ----> In Progress ([-\\_/])")
    seen = {}
    def watch(s):
        text = "\n".join(s)
        if run in text:
            t.setdefault("configuring", time.monotonic())
            below = text.split(run + "\n", 1)[1:]
            for m in progress.finditer(below[0].split("\n", 1)[0] if below else ""):
                seen.setdefault(m[1], set()).add(m[2])
        return run + closing in text
    c.wait(watch, "closing message", history=True)
    t["closed"] = time.monotonic()
    check(c.status() == 0, "a whole run leaves with 0")
    check(set(seen) == {"Configuring License", "Joining Controllers"} and
          len(set().union(*seen.values())) > 1, f"progress line: steps and spinner seen {seen}")
    setups = [e for e in c.events("cellsim.jsonl", "rx") if e["op"] == "SETUP_REQ"]
    check(len(setups) == 1 and setups[0]["controller"] == "top", f"setup requests: {setups}")
    sent = {e["name"]: e.get("value") for e in setups[0]["entries"]}
    want = {"STORAGECELL_NAME": "Lab Cell", "IPV4_MANAGEMENT_IP_ADDRESS": "10.20.1.10",
            "TOP_CTRL_ETH0_IPV4_ADDRESS": "10.20.1.11",
            "BOTTOM_CTRL_ETH0_IPV4_ADDRESS": "10.20.1.12",
            "TOP_CTRL_ETH0_IPV4_NETMASK": "255.255.255.0",
            "TOP_CTRL_ETH0_IPV4_DEFAULT_GATEWAY": "10.20.1.1", "PRIMARY_DNS_SERVER": "10.20.1.2",
            "SECONDARY_DNS_SERVER": "10.20.1.3", "DEFAULT_USER_EMAIL": "admin@lab.test",
            "DOMAIN_NAME": None}  # an empty text is left out
    check({k: sent.get(k) for k in want} == want, f"setup request carried {sent}")
    check(setups[0]["password_check"] == "ok" and setups[0]["password"] == "Sim-Pass-2",
          "the password sent")
    print(f"whole_run: discovery {t['found'] - t['enter']:.1f} s, rediscovery and setup "
          f"{t['configuring'] - t['accepted']:.1f} s, polls {t['closed'] - t['configuring']:.1f} s")


SCENARIOS = {f.__name__: f for f in [whole_run, foreign_platform, in_service, manager_down,
                                     not_first_controller, peer_silent_then_declined,
                                     refused_by_validation, step_failed]}


def main():
    build, names = sys.argv[1], sys.argv[2:] or list(SCENARIOS)
    netns = subprocess.run(["ip", "netns", "list"], capture_output=True).returncode == 0
    why = ("needs root for network namespaces" if os.geteuid() != 0 else
           "no tmux" if not shutil.which("tmux") else "" if netns else "no 'ip netns'")
    if why:
        ci = bool(os.environ.get("CI"))
        print(f"console tests: {why}; " + ("CI must run them" if ci else "skipping"))
        return 1 if ci else 77
    failures = []
    def run(name):
        try:
            SCENARIOS[name](lambda *args, **kw: Console(build, name, *args, **kw))
            print(f"{name}: passed")
        except Exception as e:  # a scenario's failure, reported with its name
            failures.append(name)
            tail = "\n".join(OPEN[name].screen(history=True)[-12:]) if name in OPEN else ""
            print(f"{name}: FAILED: {e}\n{name}: the pane ends with:\n{tail}")
        if name in OPEN:
            OPEN[name].close(name not in failures)
    threads = [threading.Thread(target=run, args=(n,)) for n in names]
    for th in threads:
        th.start()
    for th in threads:
        th.join()
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())

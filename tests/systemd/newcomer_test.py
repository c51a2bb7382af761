#!/usr/bin/env python3
"""Somebody who has never seen the product: installs a package, and does what the doctor says.

installed_host.py says how this is run.
"""

import json

import installed_host

MOST_ROUNDS = 4
NEEDS_MENDING = 4


class Newcomer(installed_host.InstalledHost):
    """One host from nothing to both ways in; the tests run in the order of their names."""

    def install_package(self, name: str) -> None:
        """By the package manager, with what the package depends on in place."""
        self.bring(name, [path for path in installed_host.PACKAGES
                          if path.name.startswith(name + "_")])
        self.host.run("sh", "-c", f"apt-get install --yes /packages/{name}/*.deb")

    def ask_doctor(self) -> tuple:
        """The exit code, and what needs mending."""
        answer = self.host.run("loggerctl", "--format=json", "doctor", check=False)
        findings = json.loads(answer.stdout)["findings"]
        return answer.returncode, [finding for finding in findings if finding["mend"]]

    def follow_doctor(self) -> list:
        """Runs the commands that are named until all is well: what was mended, round by round."""
        mended = []
        for _ in range(MOST_ROUNDS):
            code, findings = self.ask_doctor()
            if code == 0:
                return mended
            self.assertEqual(code, NEEDS_MENDING)
            mended.append([finding["name"] for finding in findings])
            for finding in findings:
                self.host.run("sh", "-c", finding["mend"])
        self.fail(f"the doctor is not content: {self.host.run('loggerctl', 'doctor', check=False).stdout}")

    def test_1_the_tool_works_after_what_the_doctor_says(self) -> None:
        """The description is all that is missing."""
        self.install_package("kzm-logger-provider")
        self.assertNotEqual(self.host.run("loggerctl", "get", check=False).returncode, 0)
        self.assertEqual(self.follow_doctor(), [["device-description"]])
        self.assertEqual(self.host.output("loggerctl", "get", "cpu.threshold"), "90")
        self.host.run("loggerctl", "set", "--force", "cpu.threshold=75")
        self.assertEqual(self.state_of("agent.service"), "active")

    def test_2_the_server_works_after_what_the_doctor_says(self) -> None:
        """The sockets are to be opened; nobody else does that."""
        self.install_package("kzm-wbemd")
        self.assertTrue(self.follow_doctor())
        self.host.run("useradd", "--groups", "kzm-readers", "reader")
        self.host.run("chpasswd", text="reader:of-reader\n")
        self.assertIn("<INSTANCE", self.read())
        self.assertEqual(self.ask_doctor(), (0, []))

    def test_3_nothing_failed(self) -> None:
        """No unit of the host is left failed."""
        self.assertEqual(self.host.output("systemctl", "--failed", "--no-legend"), "")


if __name__ == "__main__":
    installed_host.main()

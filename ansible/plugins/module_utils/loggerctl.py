"""Runs loggerctl and gives back its documents. Nothing but its JSON is read."""

import json

from ansible_collections.veltaro.kzm.plugins.module_utils.failure import Failure

PROGRAM = "/opt/veltaro/kzm/bin/loggerctl"

# Exit codes.
FAILURE = 4
STOPPED = 9


class Loggerctl:
    """The tool of a host. What its documents have as warnings becomes the module's."""

    def __init__(self, module):
        self._module = module

    def run(self, *words, record=None, accepted=0):
        """The document of a command that succeeds; a Failure otherwise.

        The record is given to the command as its standard input. `accepted` is an exit code that is a
        success besides 0.
        """
        command = [self._module.params["executable"], "--format=json"] + list(words)
        try:
            code, output, error = self._module.run_command(
                command, data=None if record is None else json.dumps(record),
                handle_exceptions=False)
        except OSError as problem:
            raise Failure(f"loggerctl cannot be run: {problem}. Is the package kzm-logger-provider "
                          "installed there, and is the option executable right?",
                          cmd=command) from problem
        document = self._read(command, code, output, error)
        if isinstance(document, dict):
            for warning in document.pop("warnings", []):
                self._module.warn(warning)
        if code not in (0, accepted):
            raise self._failure(document)
        return document

    def service_state(self):
        """Whether the agent runs: running, stopped, or unknown where the tool cannot tell."""
        try:
            return self.run("service", "status", accepted=STOPPED)["state"]
        except Failure as failure:
            if failure.details.get("error", {}).get("code") == FAILURE:
                return "unknown"
            raise

    @staticmethod
    def _read(command, code, output, error):
        try:
            document = json.loads(output)
        except ValueError:
            document = None
        if document is None or code != 0 and not isinstance(document, dict):
            ended = f"by signal {-code}" if code < 0 else f"with exit code {code}"
            raise Failure(f"loggerctl ended {ended} and without an answer.",
                          cmd=command, rc=code, stdout=output, stderr=error)
        return document

    @staticmethod
    def _failure(document):
        error = dict(document["error"])
        message = error.pop("message")
        details = {name: error.pop(name) for name in ("stage", "host_state", "recover_with")
                   if name in error}
        sentences = [message] + error["reasons"]
        return Failure(" ".join(sentences), error={"message": message, **error}, **details)

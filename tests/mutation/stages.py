"""Which tests are likely to notice a change, by the place of the change."""

from typing import NamedTuple


class Stage(NamedTuple):
    """Some tests of one program."""

    target: str
    folder: str  # below tests/
    tests: str = "*"


# Tests that take long and that other tests leave little to: they run last.
ALL_SEEDS = "FromSeed/RoundTrip.*"
SOME_SEEDS = ALL_SEEDS + "/0"
HUGE_FILES = "Loading.FilesOfOneHundredMegabytesAreRead"

RECORDS = Stage("settings_tests", "unit/settings", f"-{ALL_SEEDS}:{HUGE_FILES}")
ROUND_TRIP = Stage("settings_tests", "unit/settings", f"{SOME_SEEDS}:{HUGE_FILES}")
PROVIDER = Stage("provider_tests", "unit/provider")
LIBRARY = Stage("provider_system_test", "system/provider")

PLATFORM = Stage("platform_tests", "unit/platform", "-CommandRunnerTest.*")
COMMANDS = Stage("platform_tests", "unit/platform", "CommandRunnerTest.*")
VENDOR = Stage("platform_tests", "unit/platform", "CVendorTest.*")
FAULT_HOSTS = Stage("host_fault_tests", "hosts")
COMMAND_HOSTS = Stage("host_command_tests", "hosts")
HOST = Stage("host_tests", "unit/host")
HISTORY = Stage("history_tests", "unit/history", "-At/*")
KILLED_HISTORY = Stage("history_tests", "unit/history", "At/*")
OUTPUT = Stage("loggerctl_output_tests", "unit/output", "-CProgressLine*")
PROGRESS = Stage("loggerctl_output_tests", "unit/output", "CProgressLine*")
UNITS = Stage("loggerctl_unit_test", "unit/loggerctl", "-CInterruptGuard.*")
SIGNALS = Stage("loggerctl_unit_test", "unit/loggerctl", "CInterruptGuard.*")
FILES = Stage("loggerctl_files_test", "unit/loggerctl")

SYSTEM = "system/loggerctl"
GET = Stage("loggerctl_system_test", SYSTEM)
SET_LONG_ONES = "*Interrupt*:SetTogether.*:*Delayed*:*Progress*"
SET = Stage("loggerctl_set_test", SYSTEM, f"-{SET_LONG_ONES}")
SET_LONG = Stage("loggerctl_set_test", SYSTEM, SET_LONG_ONES)
RESTORE = Stage("loggerctl_state_test", SYSTEM, "Restore*:InterruptedRestore.*")
KILLED_RESTORE = Stage("loggerctl_state_test", SYSTEM, "At/*")
STATE = Stage("loggerctl_state_test", SYSTEM, "-*Restore*:At/*")
DOCTOR = Stage("loggerctl_doctor_test", SYSTEM, "-Server/*")
DOCTOR_SERVER = Stage("loggerctl_doctor_test", SYSTEM, "Server/*")
TEXTS = Stage("loggerctl_texts_test", SYSTEM, "-*/zsh")
ZSH = Stage("loggerctl_texts_test", SYSTEM, "*/zsh")

SERVER_BASE = Stage("serverbase_tests", "unit/serverbase")
DOOR = Stage("providerd_door_tests", "unit/providerd/door")
OPERATIONS = Stage("wbemd_operations_tests", "unit/wbemd/operations")
QUEUE = Stage("call_queue_test", "unit/providerd")
DOOR_DAEMON = Stage("providerd_door_test", "system/door")
WORKER = Stage("worker_system_test", "system/server")
HTTP = Stage("wbemd_http_tests", "unit/wbemd/http")
SERVED = Stage("server_http_test", "system/server/http")
WHOLE = Stage("server_whole_test", "system/server/whole")

THREADS = Stage("thread_tests", "load")
PLACES = Stage("security_test", "security")
PRINTED = Stage("security_text_test", "security")

# By the beginning of a file's path, of which the first one in the table counts: the stages, the
# quick and likely ones first.
TABLE = {
    "provider/": [PROVIDER, LIBRARY],
    "settings/": [RECORDS, PROVIDER, LIBRARY, ROUND_TRIP],
    "configfile/": [RECORDS, PROVIDER, LIBRARY, ROUND_TRIP],
    "platform/comlib/CFaultTranslation.cpp": [FAULT_HOSTS, PLATFORM, LIBRARY],
    "platform/comlib/CPreviousActions.cpp": [FAULT_HOSTS, PLATFORM],
    "platform/providerbase/CKeptProcess.cpp": [COMMAND_HOSTS, COMMANDS, SIGNALS, PLACES],
    "platform/providerbase/CCommandRunner.cpp": [VENDOR, COMMANDS, COMMAND_HOSTS, SIGNALS, PLACES],
    "platform/": [PLATFORM, THREADS, COMMANDS, LIBRARY, FILES, PLACES],
    "host/CServiceSteps.cpp": [HOST, FILES, WORKER],
    "host/": [HOST, FILES, GET],
    "schema/": [HOST],
    "history/": [HISTORY, KILLED_HISTORY, RESTORE, KILLED_RESTORE],
    "serverbase/": [SERVER_BASE, DOOR, QUEUE, HTTP, DOOR_DAEMON, SERVED],
    "providerd/door/": [DOOR, DOOR_DAEMON, WHOLE],
    "providerd/MethodCall.cpp": [QUEUE, DOOR],
    "providerd/": [QUEUE, WORKER],
    "loggerctl/output/CProgressLine.cpp": [PROGRESS, OUTPUT, GET],
    "loggerctl/output/TimeText.cpp": [OUTPUT, STATE],
    "loggerctl/output/": [OUTPUT, UNITS, GET, PRINTED, SET],
    "loggerctl/record/": [UNITS, FILES, SET, GET],
    "loggerctl/agent/CInterruptGuard.cpp": [SIGNALS, SET_LONG, RESTORE, STATE],
    "loggerctl/agent/Locks.cpp": [UNITS, FILES, DOCTOR, GET, STATE, SET, RESTORE, SET_LONG],
    "loggerctl/agent/": [UNITS, FILES, GET, STATE, SET, RESTORE, SET_LONG],
    "loggerctl/commands/RestoreCommand.cpp": [RESTORE, SET, SET_LONG, KILLED_RESTORE, STATE, TEXTS,
                                              GET],
    "loggerctl/commands/SetCommand.cpp": [SET, SET_LONG, PRINTED, TEXTS, GET, STATE],
    "loggerctl/commands/ServiceCommand.cpp": [STATE, SET, SET_LONG, TEXTS, GET],
    "loggerctl/commands/HistoryCommands.cpp": [STATE, RESTORE, SET, PRINTED],
    "loggerctl/commands/DoctorCommand.cpp": [DOCTOR],
    "loggerctl/doctor/ServerChecks.cpp": [DOCTOR_SERVER, DOCTOR],
    "loggerctl/doctor/": [UNITS, DOCTOR, DOCTOR_SERVER],
    "loggerctl/commands/HostState.cpp": [FILES, SET, RESTORE, SET_LONG],
    "loggerctl/commands/CommandLine.cpp": [TEXTS, GET, SET, STATE, RESTORE, SET_LONG, ZSH],
    "wbemd/http/": [HTTP, SERVED],
    "wbemd/": [OPERATIONS, WHOLE],
    "loggerctl/": [UNITS, GET, TEXTS, SET],
}


def stages_of(file):
    return next(stages for beginning, stages in TABLE.items() if file.startswith(beginning))


def targets_of(stages):
    return sorted({stage.target for stage in stages})

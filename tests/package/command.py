"""Commands that must succeed, shown with what they say."""

import subprocess
import sys


def check(condition, message):
    if not condition:
        sys.exit(message)


def run(*command, status=0, **options):
    """Runs a command that must end with this status; gives what it said."""
    command = [str(part) for part in command]
    print("$", *command, flush=True)
    result = subprocess.run(command, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                            check=False, **options)
    print(result.stdout, end="", flush=True)
    check(result.returncode == status, f"exit status {result.returncode} instead of {status}")
    return result.stdout

#!/usr/bin/python3
"""The command, where packages are installed by the system."""

from zolt.cli import main

main(prog_name="zolt")

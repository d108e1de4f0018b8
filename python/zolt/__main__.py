"""python -m zolt is the command zolt."""

from .cli import main

main(prog_name="zolt")

#!/usr/bin/env python3
"""Runs a program at a terminal of its own, answers its questions, and prints all that the terminal shows.

Usage: at_terminal.py PROGRAM [ARGUMENT...] <ANSWERS      a line of the standard input for each question, which ends in
": "; ^C in a line is the interrupt key, and the line's end is then not typed

Ends as the program does; with 125 where the program asks for more than there are answers, leaves the terminal without
its echo, or does not end.
"""
import os
import pty
import select
import signal
import sys
import termios

answers = sys.stdin.buffer.read().split(b"\n")[:-1]
child, terminal = pty.fork()
if child == 0:
    os.execvp(sys.argv[1], sys.argv[1:])

shown = b""
asked = 0
settings = termios.tcgetattr(terminal)
while True:
    if not select.select([terminal], [], [], 120)[0]:
        print(f"the program waits: {shown!r}")
        os.kill(child, signal.SIGKILL)
        sys.exit(125)
    try:
        piece = os.read(terminal, 1000)
    except OSError:  # the other end is closed
        break
    if not piece:
        break
    shown += piece
    if shown.endswith(b": "):
        if asked == len(answers):
            print(f"a question without an answer: {shown!r}")
            os.kill(child, signal.SIGKILL)
            sys.exit(125)
        answer = answers[asked].replace(b"^C", b"\x03")
        asked += 1
        os.write(terminal, answer if b"\x03" in answer else answer + b"\n")
status = os.waitstatus_to_exitcode(os.waitpid(child, 0)[1])
sys.stdout.write(shown.decode().replace("\r\n", "\n"))
if asked < len(answers):
    print(f"{len(answers) - asked} answers were not asked for")
    status = 125
if termios.tcgetattr(terminal) != settings:
    print("the terminal is left as no other program expects it")
    status = 125
sys.exit(status)

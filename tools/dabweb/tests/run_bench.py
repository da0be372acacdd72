#!/usr/bin/python3
"""Event-stream benchmark on a running head unit: dabweb_bench with N clients and M signal
level notifications from the simulated tuner; fails on a lost or reordered event (and on a
p99 above --max-p99-ms when given)."""

import os
import subprocess

import webharness


def main(hu, args):
    hu.start()
    cmd = [os.path.join(hu.build, 'tools/dabweb/dabweb_bench'), '--port', str(hu.port),
           '--clients', str(args.clients), '--notifications', str(args.notifications)]
    if args.max_p99_ms is not None:
        cmd += ['--max-p99-ms', str(args.max_p99_ms)]
    r = subprocess.run(cmd, env=hu.env, timeout=300)
    if r.returncode != 0:
        raise AssertionError('dabweb_bench exited with %d' % r.returncode)
    return 0


if __name__ == '__main__':
    webharness.run(main)

"""Runs a head unit with dabweb for the web tests: headunit_sim, dabplayer_service with the
simulated tuner and dabweb, each in a private runtime directory, on a free port. Every
process started here is ended and the directory removed by close()."""

import argparse
import json
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import urllib.error
import urllib.request


def arguments(extra=None):
    p = argparse.ArgumentParser()
    p.add_argument('--build-dir', required=True)
    if extra:
        extra(p)
    return p.parse_args()


def wait_until(condition, timeout, what):
    """Polls condition (a function) until it returns a true value; fails after timeout s."""
    deadline = time.monotonic() + timeout
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() >= deadline:
            raise AssertionError('timed out after %ss waiting for %s' % (timeout, what))
        time.sleep(0.05)


class HeadUnit:
    def __init__(self, build_dir):
        self.build = os.path.abspath(build_dir)
        self.dir = tempfile.mkdtemp(prefix='dabweb-test-')
        self.env = dict(os.environ, DAB_BINDER_DIR=self.dir)
        self.procs = {}
        self.port = None

    # ---- processes ----------------------------------------------------------------------
    def spawn(self, name, program, args=()):
        out = open(os.path.join(self.dir, name + '.out'), 'wb')
        err = open(os.path.join(self.dir, name + '.err'), 'wb')
        p = subprocess.Popen([os.path.join(self.build, program)] + list(args), env=self.env,
                             stdin=subprocess.DEVNULL, stdout=out, stderr=err)
        out.close()
        err.close()
        self.procs[name] = p
        return p

    def dabctl(self, *args, timeout=20):
        r = subprocess.run([os.path.join(self.build, 'tools/dabctl/dabctl')] + list(args),
                           env=self.env, stdin=subprocess.DEVNULL, capture_output=True,
                           timeout=timeout, text=True)
        return r

    def start_service(self):
        self.spawn('service', 'dabplayer_service')
        wait_until(lambda: '"state":"resumed"' in self.dabctl('--json', 'hu', 'power').stdout, 30,
                   'the service to be resumed')
        r = self.dabctl('hu', 'activate', 'dab')
        assert r.returncode == 0, 'hu activate dab: %s %s' % (r.stdout, r.stderr)
        r = self.dabctl('wait-active', '20', timeout=30)
        assert r.returncode == 0, 'wait-active: ' + r.stderr

    def start(self):
        self.spawn('sim', 'tools/headunit_sim/headunit_sim')
        wait_until(lambda: self.dabctl('hu', 'ping').returncode == 0, 30, 'the head-unit simulator')
        self.start_service()
        web = self.spawn('web', 'tools/dabweb/dabweb', ['--port', '0'])

        def announced():
            with open(os.path.join(self.dir, 'web.out')) as f:
                m = re.search(r'http://127\.0\.0\.1:(\d+)/', f.read())
            if web.poll() is not None:
                raise AssertionError('dabweb ended with %s: %s' % (web.returncode, self.log('web')))
            return m and int(m.group(1))
        self.port = wait_until(announced, 30, 'dabweb to listen')
        wait_until(lambda: self.state().get('active'), 30, 'dabweb to show an active radio')
        # The preset lists arrive after the activation.
        wait_until(lambda: all(p and p.get('label') for p in self.state()['presets'][0]), 30,
                   'the presets of band 1')
        return self

    def stop_service(self):
        p = self.procs.pop('service')
        p.send_signal(signal.SIGTERM)
        try:
            p.wait(10)
        except subprocess.TimeoutExpired:
            p.kill()
            p.wait()

    def log(self, name):
        try:
            with open(os.path.join(self.dir, name + '.err'), errors='replace') as f:
                return f.read()[-3000:]
        except OSError:
            return ''

    def close(self):
        """Ends every process; a problem of dabweb's own (a crash, a sanitizer report, no
        clean stop) as text, else None."""
        problem = None
        for name in ('web', 'service', 'sim'):
            p = self.procs.pop(name, None)
            if p is None:
                continue
            if p.poll() is None:
                p.send_signal(signal.SIGTERM)
            try:
                p.wait(10)
            except subprocess.TimeoutExpired:
                p.kill()
                p.wait()
            if name == 'web' and p.returncode != 0:
                problem = 'dabweb ended with status %s: %s' % (p.returncode, self.log('web'))
        shutil.rmtree(self.dir, ignore_errors=True)
        return problem

    # ---- HTTP ---------------------------------------------------------------------------
    @property
    def url(self):
        return 'http://127.0.0.1:%d' % self.port

    def request(self, method, path, body=None, raw=None, timeout=30):
        """(status, parsed JSON answer)."""
        data = raw if raw is not None else (json.dumps(body).encode() if body is not None else None)
        req = urllib.request.Request(self.url + path, data=data, method=method,
                                     headers={'Content-Type': 'application/json'})
        try:
            with urllib.request.urlopen(req, timeout=timeout) as r:
                return r.status, json.loads(r.read().decode())
        except urllib.error.HTTPError as e:
            text = e.read().decode(errors='replace')
            try:
                return e.code, json.loads(text)
            except ValueError:
                return e.code, {'raw': text}

    def state(self):
        try:
            return self.request('GET', '/api/state', timeout=10)[1]
        except OSError:
            return {}


def run(main):
    """Runs main(head_unit, args) on a started head unit; prints the logs on failure."""
    def add(p):
        p.add_argument('--screenshots')
        p.add_argument('--clients', type=int, default=10)
        p.add_argument('--notifications', type=int, default=1000)
        p.add_argument('--max-p99-ms', type=int)
    args = arguments(add)
    hu = HeadUnit(args.build_dir)
    status = 1
    try:
        status = main(hu, args) or 0
    except AssertionError as e:
        print('FAILED: %s' % e)
        for name in ('web', 'service', 'sim'):
            print('--- last lines of %s' % name)
            print(hu.log(name))
    finally:
        problem = hu.close()
    if problem:
        print('FAILED: ' + problem)
        status = 1
    sys.exit(status)

#!/usr/bin/python3
"""dabweb's HTTP API against a running head unit: answers, the error cases a browser or a
script can cause, and that nothing sent breaks dabweb or the service."""

import socket

import webharness


def check(cond, what):
    if not cond:
        raise AssertionError(what)


def expect(hu, method, path, status, error_part=None, body=None, raw=None):
    got, answer = hu.request(method, path, body=body, raw=raw)
    check(got == status, '%s %s: status %s, expected %s: %s' % (method, path, got, status, answer))
    if error_part is not None:
        check(error_part in answer.get('error', ''),
              '%s %s: error %r lacks %r' % (method, path, answer.get('error'), error_part))
    return answer


def main(hu, args):
    hu.start()
    state = hu.state()
    check(state['running'] and state['active'], 'state not running/active: %s' % state)

    # Calls: results and outputs by name.
    a = expect(hu, 'POST', '/api/call/getPresetListItem', 200, body={'args': [1, 0]})
    check(a['result'] == 0 and a['outputs']['label'], 'preset 1 of band 1: %s' % a)
    a = expect(hu, 'POST', '/api/call/getband', 200, raw=b'')
    check(a['op'] == 'getBand' and a['outputs']['band'] == state['band'], 'getBand: %s' % a)

    # Bad requests: 400 naming the problem, 404 for what does not exist, 413 for too much.
    expect(hu, 'POST', '/api/call/recall', 400, 'malformed JSON', raw=b'{"args":[1,')
    expect(hu, 'POST', '/api/call/recall', 400, 'JSON object', raw=b'[1]')
    expect(hu, 'POST', '/api/call/recall', 400, '"args" must be an array', body={'args': 1})
    expect(hu, 'POST', '/api/call/recall', 400, 'unknown key "arg"', body={'arg': [1]})
    expect(hu, 'POST', '/api/call/recall', 400, 'recall takes 1 argument (index), got 0', body={'args': []})
    expect(hu, 'POST', '/api/call/manualUp', 400, 'manualUp takes 0 arguments, got 1', body={'args': [1]})
    for bad in ('1', 1.5, True, None, 2 ** 31, -2 ** 31 - 1, [1]):
        expect(hu, 'POST', '/api/call/recall', 400, 'argument 1 (index) must be an integer',
               body={'args': [bad]})
    expect(hu, 'POST', '/api/call/noSuchOperation', 404, 'unknown operation "noSuchOperation"')
    expect(hu, 'POST', '/api/call/recall', 413, 'larger than', raw=b'{"args":[' + b'1,' * 40000 + b'1]}')
    expect(hu, 'GET', '/api/nothing', 404, 'no such path')
    expect(hu, 'GET', '/api/list/nothing', 404, 'unknown list "nothing"')
    expect(hu, 'GET', '/api/list/ensemble', 400, '?index=N')
    expect(hu, 'POST', '/api/sim/NOPE', 404, 'unknown simulator command')
    expect(hu, 'POST', '/api/sim/antenna', 400, '1..5', body={'args': [9]})
    expect(hu, 'POST', '/api/sim/dls', 400, 'control character', body={'args': ['a\nstatus']})
    expect(hu, 'POST', '/api/sim/frobnicate', 400, 'unknown command')
    # Out-of-range values reach the service, which refuses them itself.
    a = expect(hu, 'POST', '/api/call/getPresetListItem', 200, body={'args': [7, 99]})
    check(a['result'] == -1, 'getPresetListItem 7 99 answered %s' % a)

    # Garbage on the socket: dabweb answers or closes, and keeps serving.
    for junk in (b'\x00\xff\r\n\r\n', b'GET /' + b'a' * 20000 + b' HTTP/1.1\r\n\r\n',
                 b'POST /api/call/recall HTTP/1.1\r\nContent-Length: 99999999\r\n\r\n{'):
        s = socket.create_connection(('127.0.0.1', hu.port), timeout=10)
        s.sendall(junk)
        try:
            s.recv(4096)
        except OSError:
            pass
        s.close()

    # Whole lists, with labels of the three character sets.
    a = expect(hu, 'GET', '/api/list/services', 200)
    labels = [i['label'] for i in a['items']]
    check(a['count'] == len(labels) and a['count'] >= 30, 'service list: %s' % a)
    for label in ('Радио 1', '音楽ラジオ', 'Küstenradio', 'Café Hits'):
        check(label in labels, '%s not in the service list %s' % (label, labels))
    a = expect(hu, 'GET', '/api/list/ensembles', 200)
    check(a['count'] == 9, 'ensembles: %s' % a)
    a = expect(hu, 'GET', '/api/list/ensemble?index=0', 200)
    check(a['count'] >= 1, 'components of ensemble 0: %s' % a)
    check(hu.state()['running'], 'dabweb lost the service')

    # The service gone: 503 and the state says so; a call does not hang.
    hu.stop_service()
    webharness.wait_until(lambda: hu.state().get('running') is False, 30, 'the state to show the service gone')
    expect(hu, 'POST', '/api/call/getBand', 503, 'radio service not running')
    expect(hu, 'GET', '/api/list/services', 503, 'radio service not running')
    check(hu.procs['web'].poll() is None, 'dabweb ended')
    print('test_api: passed')
    return 0


if __name__ == '__main__':
    webharness.run(main)

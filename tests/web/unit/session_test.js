import assert from 'node:assert/strict';
import { getEventListeners } from 'node:events';
import { test } from 'node:test';

import { ConnectionLost, Session, SessionError } from '../../../web/app/session.js';
import { ManualTimer, next } from '../support/events.js';
import { FakeHost, FakeNetwork } from '../support/fake_host.js';

/** @param {{ signInNeeded?: () => Promise<boolean>, language?: string }} [options] */
async function online(options = {}) {
    const host = new FakeHost();
    host.addDirectory('/file/', ['a.opus', 'b.opus']);
    host.addDirectory('/', []);
    const network = new FakeNetwork(host);
    const timer = new ManualTimer();
    const session = new Session({ connect: network.connect, random: () => 1, timer, ...options });
    session.start();
    await next(session, 'state', () => session.state === 'online');
    return { host, network, session, timer };
}

/**
 * @param {Session} session
 * @param {string} state
 */
function reached(session, state) {
    return session.state === state ? Promise.resolve() : next(session, 'state', () => session.state === state);
}

test('a request is answered', async () => {
    const { session } = await online();
    const answer = await session.rows('/file/', { roles: ['title'] });
    assert.deepEqual(answer.rows, [['a.opus'], ['b.opus']]);
});

test('a request before the connection waits for it', async () => {
    const host = new FakeHost();
    const session = new Session({ connect: new FakeNetwork(host).connect });
    const described = session.describe();
    session.start();
    assert.equal((await described).protocol, 1);
});

test('each connection names the language first', async () => {
    const { host, network, session, timer } = await online({ language: 'de' });
    await session.open('/file/', () => {});
    await session.describe();
    network.break();
    await reached(session, 'lost');
    timer.fire();
    await session.describe();
    assert.deepEqual(host.requests.map(({ method }) => method), ['describe', 'open', 'describe', 'describe', 'open', 'describe']);
    assert.deepEqual(host.asked('describe'), Array(4).fill({ language: 'de' }));
});

test('what waits for the connection is asked in the language', async () => {
    const host = new FakeHost();
    host.addDirectory('/file/', []);
    const session = new Session({ connect: new FakeNetwork(host).connect, language: 'de' });
    const rows = session.rows('/file/', { roles: ['title'] });
    session.start();
    await rows;
    assert.deepEqual(host.requests.map(({ method }) => method), ['describe', 'rows']);
});

test('a refusal is an error with code and data', async () => {
    const { session } = await online();
    await assert.rejects(session.rows('/file/missing'), (error) => {
        assert(error instanceof SessionError);
        assert.equal(error.code, -32000);
        assert.equal(error.data.name, 'invalidPath');
        return true;
    });
});

test('a change reaches those who opened the path', async () => {
    const { host, session } = await online();
    const heard = new Promise((resolve) => void session.open('/file/', resolve));
    await session.describe();
    host.change('/file/', ['c.opus']);
    assert.deepEqual((/** @type {any} */ (await heard)).changes, ['reset']);
});

test('a path is opened once for several listeners and closed with the last', async () => {
    const { host, session } = await online();
    const [first, second] = [() => {}, () => {}];
    await Promise.all([session.open('/file/', first), session.open('/file/', second)]);
    assert.equal(host.asked('open').length, 1);
    session.close('/file/', first);
    assert.equal(host.asked('close').length, 0);
    session.close('/file/', second);
    assert.equal(host.asked('close').length, 1);
});

test('a refused opening leaves nothing open', async () => {
    const { host, session } = await online();
    await assert.rejects(session.open('/file/missing', () => {}));
    host.addDirectory('/file/missing', []);
    await session.open('/file/missing', () => {});
    assert.equal(host.asked('open').length, 2);
});

test('an open path is opened again after a lost connection, and its listener hears a reset', async () => {
    const { host, network, session, timer } = await online();
    /** @type {any} */
    let heard;
    const restored = new Promise((resolve) => (heard = resolve));
    await session.open('/file/', heard);
    network.break();
    await reached(session, 'lost');
    timer.fire();
    const change = /** @type {any} */ (await restored);
    assert.deepEqual([change.changes, change.restored], [['reset'], true]);
    assert.equal(host.asked('open').length, 2);
});

test('a path that is closed before the connection is never opened', async () => {
    const host = new FakeHost();
    host.addDirectory('/file/', []);
    const session = new Session({ connect: new FakeNetwork(host).connect });
    const listener = () => {};
    const refused = assert.rejects(session.open('/file/', listener), { name: 'AbortError' });
    session.close('/file/', listener);
    session.start();
    await session.describe();
    assert.deepEqual(host.asked('open'), []);
    await refused;
});

test('a path that is closed while its opening waits for a new connection is not opened again', async () => {
    const { host, network, session, timer } = await online();
    const listener = () => {};
    host.before = () => new Promise(() => {});
    const refused = assert.rejects(session.open('/file/', listener), { name: 'AbortError' });
    network.break();
    await reached(session, 'lost');
    session.close('/file/', listener);
    host.before = async () => {};
    timer.fire();
    await session.describe();
    assert.equal(host.asked('open').length, 1);
    await refused;
});

test('a path that is closed before the connection is lost is not opened again, answered or not', async () => {
    const { host, network, session, timer } = await online();
    const listener = () => {};
    host.before = () => new Promise(() => {});
    const lost = assert.rejects(session.open('/file/', listener), ConnectionLost);
    session.close('/file/', listener);
    network.break();
    await reached(session, 'lost');
    host.before = async () => {};
    timer.fire();
    await session.describe();
    assert.equal(host.asked('open').length, 1);
    await lost;
});

test('a path that was closed by the host can be opened again', async () => {
    const { host, session } = await online();
    const closed = new Promise((resolve) => void session.open('/file/', resolve));
    await session.describe();
    host.remove('/file/');
    await closed;
    host.addDirectory('/file/', []);
    await session.open('/file/', () => {});
    assert.equal(host.asked('open').length, 2);
});

test('a path that is gone after a lost connection is closed', async () => {
    const { host, network, session, timer } = await online();
    /** @type {any} */
    let heard;
    const restored = new Promise((resolve) => (heard = resolve));
    await session.open('/file/', heard);
    host.directories.delete('/file/');
    network.break();
    await reached(session, 'lost');
    timer.fire();
    assert.deepEqual((/** @type {any} */ (await restored)).changes, ['close']);
});

test('a host that is busy after a lost connection is asked to open again', async () => {
    const { host, network, session, timer } = await online();
    /** @type {any} */
    let heard;
    const restored = new Promise((resolve) => (heard = resolve));
    await session.open('/file/', heard);
    host.faults.set('/file/', { code: -32004, name: 'busy', message: 'the host has too much under way' });
    network.break();
    await reached(session, 'lost');
    timer.fire();
    while (timer.waiting.length === 0) await new Promise(setImmediate);
    host.faults.clear();
    timer.fire();
    assert.deepEqual((/** @type {any} */ (await restored)).changes, ['reset']);
});

test('what only reads is asked again after a lost connection', async () => {
    const { host, network, session, timer } = await online();
    host.before = () => new Promise(() => {});
    const answer = session.rows('/file/', { roles: ['title'] });
    network.break();
    await reached(session, 'lost');
    host.before = async () => {};
    timer.fire();
    assert.equal((await answer).count, 2);
});

test('a set fails when the connection is lost before the answer', async () => {
    const { host, network, session } = await online();
    host.before = () => new Promise(() => {});
    const answer = session.set('/playlist/playNow', ['/file/a.opus']);
    network.break();
    await assert.rejects(answer, ConnectionLost);
});

test('a set without a connection fails at once', async () => {
    const { network, session } = await online();
    network.break();
    await reached(session, 'lost');
    await assert.rejects(session.set('/playlist/playNow', []), ConnectionLost);
});

test('the delay between attempts doubles up to a limit', async () => {
    const { network, session, timer } = await online();
    network.up = false;
    network.break();
    await reached(session, 'lost');
    const delays = [];
    for (let attempt = 0; attempt < 7; ++attempt) {
        while (timer.waiting.length === 0) await new Promise(setImmediate);
        delays.push(timer.waiting[0].milliseconds);
        timer.fire();
    }
    assert.deepEqual(delays, [500, 1000, 2000, 4000, 8000, 15000, 15000]);
});

test('waking a lost session connects at once', async () => {
    const { network, session, timer } = await online();
    network.break();
    await reached(session, 'lost');
    session.wake();
    await reached(session, 'online');
    assert.equal(timer.waiting.length, 0);
});

test('waking finds out that a connection is dead', async () => {
    const { host, session, timer } = await online();
    host.before = () => new Promise(() => {});
    session.wake();
    timer.fire();
    await reached(session, 'lost');
});

test('waking leaves a connection alone that answers', async () => {
    const { session, timer } = await online();
    session.wake();
    while (timer.waiting.length > 0) await new Promise(setImmediate);
    assert.equal(session.state, 'online');
});

test('a refused connection that needs a sign-in waits for it', async () => {
    const host = new FakeHost();
    const network = new FakeNetwork(host);
    network.up = false;
    const timer = new ManualTimer();
    const session = new Session({ connect: network.connect, signInNeeded: async () => true, timer });
    session.start();
    await reached(session, 'signIn');
    assert.equal(timer.waiting.length, 0);
    network.up = true;
    session.start();
    await reached(session, 'online');
});

/** A session whose connection was refused and that asks whether a sign-in is needed until `answer` is called. */
async function refusedConnection() {
    const network = new FakeNetwork(new FakeHost());
    network.up = false;
    const timer = new ManualTimer();
    /** @type {(needed: boolean) => void} */
    let answer = () => {};
    const asked = new EventTarget();
    const signInNeeded = () => {
        asked.dispatchEvent(new Event('asked'));
        return new Promise((resolve) => (answer = resolve));
    };
    const session = new Session({ connect: network.connect, signInNeeded, timer });
    session.start();
    await next(asked, 'asked');
    return { network, session, timer, answer };
}

test('a session that was stopped needs no sign-in', async () => {
    const { session, answer } = await refusedConnection();
    session.stop();
    answer(true);
    await new Promise(setImmediate);
    assert.equal(session.state, 'closed');
});

test('a session that was started again is not lost with the connection before', async () => {
    const { network, session, timer, answer } = await refusedConnection();
    network.up = true;
    session.start();
    await reached(session, 'online');
    answer(true);
    await new Promise(setImmediate);
    assert.equal(session.state, 'online');
    assert.equal(timer.waiting.length, 0);
});

test('an aborted request is rejected and its answer ignored', async () => {
    const { session } = await online();
    const abort = new AbortController();
    const answer = session.rows('/file/', {}, abort.signal);
    abort.abort();
    await assert.rejects(answer, { name: 'AbortError' });
});

test('a settled request no longer listens to its signal', async () => {
    const { session } = await online();
    const { signal } = new AbortController();
    await session.rows('/file/', { roles: ['title'] }, signal);
    await assert.rejects(session.rows('/file/missing', {}, signal));
    assert.equal(getEventListeners(signal, 'abort').length, 0);
});

test('a stopped session fails what is unanswered', async () => {
    const { host, session } = await online();
    host.before = () => new Promise(() => {});
    const answer = session.describe();
    session.stop();
    await assert.rejects(answer, ConnectionLost);
    assert.equal(session.state, 'closed');
});

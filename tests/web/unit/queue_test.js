import assert from 'node:assert/strict';
import { beforeEach, test } from 'node:test';

import { PartlyAdded, Queue } from '../../../web/app/queue.js';
import { Session } from '../../../web/app/session.js';
import { ManualTimer, next } from '../support/events.js';
import { FakeHost, FakeNetwork } from '../support/fake_host.js';
import { FakePlaylist } from '../support/fake_playlist.js';

/** @type {FakeHost} */
let host;
/** @type {FakePlaylist} */
let playlist;
/** @type {FakeNetwork} */
let network;
/** @type {ManualTimer} */
let timer;
/** @type {Session} */
let session;
/** @type {Queue} */
let queue;

beforeEach(() => {
    host = new FakeHost();
    host.addDirectory('/', []);
    playlist = new FakePlaylist(host);
    ({ network, timer, session, queue } = newClient());
});

/** A page of its own with the queue of the host. */
function newClient() {
    const client = { network: new FakeNetwork(host), timer: new ManualTimer() };
    const made = new Session({ connect: client.network.connect, timer: client.timer });
    made.start();
    return { ...client, session: made, queue: new Queue(made) };
}

/** A queue with a letter for each entry. @param {string} letters */
async function start(letters) {
    host.services.get('/playlist/addToQueue')?.([...letters].map((letter) => `/file/${letter}`));
    await queue.start();
}

/** @param {Queue} [shown] */
function order(shown = queue) {
    const entries = shown.known(0, shown.count - 1);
    return entries.map(({ source }) => source.slice('/file/'.length)).join('');
}

/** @param {string} wanted @param {Queue} [shown] */
async function ordered(wanted, shown = queue) {
    while (order(shown) !== wanted) await next(shown, 'change');
}

/** The files of all entries, as the host has them. */
function sources() {
    return playlist.rows.map(({ value }) => value);
}

/** @param {number} count */
function numbered(count) {
    return Array.from({ length: count }, (_, index) => `/file/${index}`);
}

/** @param {{ path: string }} row */
function idOf({ path }) {
    return Number(path.split('/').pop());
}

/** Holds the answers to a service back until the function is called. @param {string} service */
function hold(service) {
    /** @type {() => void} */
    let release = () => {};
    const released = new Promise((resolve) => (release = () => resolve(null)));
    host.before = async ({ method, params }) => {
        if (method === 'set' && params.path === `/playlist/${service}`) await released;
    };
    return release;
}

/** @param {string} name */
function isNamed(name) {
    return (/** @type {any} */ error) => error.data.name === name;
}

test('entries have what their rows say', async () => {
    await start('a');
    const { id, title, artist, album, duration, source, uri } = queue.at(0) ?? {};
    assert.deepEqual([id, title, artist, album], [1, 'Title of a', 'Ann', 'Blue']);
    assert.deepEqual([duration, source, uri], [1500, '/file/a', 'media/file/a']);
});

test('an entry without tags has the name of its row, and its bytes are beside the page', async () => {
    host.services.get('/playlist/addToQueue')?.(['/file/a%20b']);
    playlist.describe((row) => Object.assign(row, { title: 'a b', mediaData: null }));
    await queue.start();
    const { title, artist, duration, uri } = queue.at(0) ?? {};
    assert.deepEqual([title, artist, duration, uri], ['a b', '', 0, 'media/file/a%20b']);
});

test('only the entries in view are fetched', async () => {
    playlist.filesAt = () => Array.from({ length: 5000 }, (_, index) => `/file/${index}`);
    await start('x');
    assert.equal(queue.count, 5000);
    assert.equal(queue.at(4000), undefined);
    queue.show(4000, 4020, 4000);
    while (!queue.at(4000)) await next(queue, 'rows');
    assert.equal(queue.at(4000)?.id, 4001);
    assert.equal(queue.at(2000), undefined);
    assert.equal(await queue.find(2001), 2000);
});

test('edits change the queue of every page', async () => {
    await start('abc');
    const other = newClient().queue;
    await other.start();
    await queue.playNext(['/file/d']);
    await ordered('dabc');
    await ordered('dabc', other);
    const undo = await queue.remove([2, 3]);
    await ordered('da', other);
    await queue.undo(undo);
    await ordered('abcd', other);
    await queue.shuffle();
    await ordered('dcba', other);
    await queue.clear();
    await ordered('', other);
});

test('adding answers what was added', async () => {
    await start('a');
    const added = await queue.addToQueue(['/file/b', '/file/c']);
    assert.equal(added.added, 2);
});

for (const service of /** @type {const} */ (['playNow', 'playNext', 'addToQueue', 'replaceQueue'])) {
    test(`more paths than the host takes at a time keep their order: ${service}`, async () => {
        await start('a');
        const paths = numbered(2500);
        const { added } = await queue[service](paths);
        assert.equal(added, 2500);
        assert.deepEqual(sources().filter((source) => source !== '/file/a'), paths);
        for (const { path, value } of host.asked('set')) assert(value.value.length <= 1000, `${value.value.length} to ${path}`);
    });
}

for (const service of /** @type {const} */ (['playNow', 'playNext', 'addToQueue', 'replaceQueue'])) {
    for (const count of [1, 2500]) {
        test(`what ${service} of ${count} paths has done is undone`, async () => {
            await start('abc');
            const { undo } = await queue[service](numbered(count));
            await queue.undo(undo);
            assert.deepEqual(sources(), ['/file/a', '/file/b', '/file/c']);
        });

        test(`undoing ${service} of ${count} paths leaves what has come since, and does without what has gone`, async () => {
            await start('abc');
            const { undo } = await queue[service](numbered(count));
            const [added] = playlist.rows.filter(({ value }) => value === '/file/0');
            await queue.remove([idOf(added)]);
            await queue.addToQueue(['/file/d']);
            await queue.undo(undo);
            assert.deepEqual(sources(), ['/file/a', '/file/b', '/file/c', '/file/d']);
        });
    }

    test(`what ${service} has done until the host refused the rest is known and undone`, async () => {
        await start('abc');
        const paths = numbered(2500);
        const missing = new Set(paths.slice(1000, 2000));
        playlist.filesAt = (path) => (missing.has(path) ? [] : [path]);
        const error = await queue[service](paths).catch((reason) => reason);
        assert(error instanceof PartlyAdded);
        assert(isNamed('noSuchItem')(error.cause));
        assert.equal(error.done.added, sources().filter((source) => /\d/.test(source)).length);
        await queue.undo(error.done.undo);
        assert.deepEqual(sources(), ['/file/a', '/file/b', '/file/c']);
    });
}

test('what the host refuses is an error', async () => {
    await start('a');
    playlist.filesAt = () => [];
    await assert.rejects(queue.playNow(['/file/x']), isNamed('noSuchItem'));
    assert.equal(queue.busy, false);
});

test('the queue is busy while the host looks for files', async () => {
    await start('a');
    const release = hold('addToQueue');
    const adding = queue.addToQueue(['/file/b']);
    assert.equal(queue.busy, true);
    release();
    await adding;
    assert.equal(queue.busy, false);
});

test('a move shows at once', async () => {
    await start('abcd');
    const release = hold('move');
    const moving = queue.move([1], 3);
    assert.equal(order(), 'bcad');
    assert.equal(queue.indexOf(1), 2);
    assert.equal(queue.indexOf(4), 3);
    release();
    await moving;
    await ordered('bcad');
    assert.deepEqual(playlist.rows.map((row) => row.value.at(-1)).join(''), 'bcad');
});

test('a move stays shown from its answer until the rows have it', async () => {
    await start('abc');
    /** @type {string[]} */
    const shown = [];
    queue.addEventListener('change', () => shown.push(order()));
    await queue.move([3], 'head');
    while (playlist.rows.map((row) => row.value).join() !== queue.known(0, 2).map(({ source }) => source).join()) await next(queue, 'change');
    await new Promise((resolve) => setImmediate(resolve));
    assert.deepEqual([...new Set(shown)], ['cab']);
});

test('a second move builds on the first, before that is answered', async () => {
    await start('abcd');
    const release = hold('move');
    const moves = [queue.move([1], 4), queue.move([2], 3)];
    assert.equal(order(), 'cbda');
    release();
    await Promise.all(moves);
    await ordered('cbda');
});

test('a move is taken back if somebody else has edited the queue', async () => {
    await start('abcd');
    const release = hold('move');
    const moving = queue.move([1], 4);
    assert.equal(order(), 'bcda');
    host.services.get('/playlist/remove')?.([3]);
    release();
    await assert.rejects(moving, isNamed('conflict'));
    await ordered('abd');
});

test('what is built on a move that is taken back is taken back, too', async () => {
    await start('abcd');
    const release = hold('move');
    const moves = [queue.move([1], 4), queue.move([2], 'head')];
    host.services.get('/playlist/remove')?.([3]);
    release();
    const outcomes = await Promise.allSettled(moves);
    assert.deepEqual(outcomes.map(({ status }) => status), ['rejected', 'rejected']);
    await ordered('abd');
});

test('tags that arrive do not stand in the way of a move', async () => {
    await start('abc');
    playlist.describe((row) => (row.title = 'Other'));
    await queue.move([1], 3);
    await ordered('bca');
});

test('a move of entries that have not arrived waits for the host', async () => {
    playlist.filesAt = () => Array.from({ length: 3000 }, (_, index) => `/file/${index}`);
    await start('x');
    await queue.move([2500], 'head');
    while (queue.at(0)?.id !== 2500) await next(queue, 'change');
});

test('the entry at the eye stays where it is when entries above it go', async () => {
    await start('abcdefgh');
    queue.show(4, 6, 4);
    const changed = next(queue, 'change');
    await queue.remove([1, 2]);
    assert.equal((await changed).moved, -2);
});

test('the rows that a move brings do not move the entry at the eye again', async () => {
    await start('abcdefgh');
    const changes = [next(queue, 'change', ({ moved }) => moved !== 0)];
    queue.show(4, 6, 4);
    const moving = queue.move([8], 'head');
    queue.show(4, 6, 4);
    await moving;
    await ordered('habcdefg');
    assert.equal(await Promise.race([...changes, new Promise((resolve) => setTimeout(resolve, 20, 'still'))]), 'still');
});

test('an edit whose answer was lost is repeated, and carried out once', async () => {
    await start('a');
    host.before = async ({ method }) => {
        if (method !== 'set') return;
        host.before = async () => {};
        // Carried out, but not answered.
        network.up = false;
        queueMicrotask(() => network.break());
    };
    const adding = queue.addToQueue(['/file/b']);
    await next(session, 'state', () => session.state === 'lost');
    network.up = true;
    timer.fire();
    assert.equal((await adding).added, 1);
    await ordered('ab');
    const [first, second] = host.asked('set').slice(-2);
    assert.deepEqual(first, second);
});

test('an edit without a connection fails at once', async () => {
    await start('a');
    network.up = false;
    network.break();
    await next(session, 'state', () => session.state === 'lost');
    await assert.rejects(queue.clear(), { name: 'ConnectionLost' });
});

test('a host without a queue is known', async () => {
    host.directories.delete('/playlist/');
    await queue.start();
    assert.equal(queue.missing, true);
    host.directories.set('/playlist/', { rows: [], version: 1 });
    host.notify('/', ['reset']);
    await next(queue, 'state', () => queue.state === 'ready');
    assert.equal(queue.missing, false);
});

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { Queue } from '../../../web/app/queue.js';
import { TreeSession } from '../support/tree_session.js';

const tree = {
    Albums: {
        Blue: { '01.opus': 'Ann', '02.opus': 'Ann' },
        Red: { 'cover.jpg': '', '03.opus': 'Bo', 'all.m3u': '' },
        '04.opus': 'Cy',
    },
    Empty: {},
    Locked: null,
    '05.opus': 'Di',
};

/** @param {import('../support/tree_session.js').Folder} [root] */
function setUp(root = tree) {
    const session = new TreeSession(root);
    return { session, queue: new Queue(/** @type {any} */ (session)) };
}

/** @param {Queue} queue */
function paths(queue) {
    return queue.entries.map((entry) => entry.path);
}

/** @param {EventTarget} target @param {string} type @param {() => boolean} holds */
async function until(target, type, holds) {
    while (!holds()) await new Promise((resolve) => target.addEventListener(type, resolve, { once: true }));
}

test('a folder gives its playable files, depth first, in the order of its rows', async () => {
    const { queue } = setUp();
    await queue.addToQueue(['/file/05.opus', '/file/Albums']);
    assert.deepEqual(paths(queue), [
        '/file/05.opus',
        '/file/Albums/Blue/01.opus',
        '/file/Albums/Blue/02.opus',
        '/file/Albums/Red/03.opus',
        '/file/Albums/04.opus',
    ]);
});

test('a folder below that cannot be read is skipped, one that was asked for is an error', async () => {
    const { queue } = setUp();
    await queue.addToQueue(['/file/']);
    assert.equal(queue.entries.length, 5);
    await assert.rejects(queue.addToQueue(['/file/Locked']), { data: { name: 'error' } });
    await assert.rejects(queue.addToQueue(['/file/Nowhere']), { data: { name: 'invalidPath' } });
    assert.equal(queue.busy, false);
});

test('nothing playable is an error', async () => {
    const { queue } = setUp();
    await assert.rejects(queue.playNow(['/file/Empty', '/file/Albums/Red/all.m3u']), { name: 'noSuchItem' });
    assert.equal(queue.state, 'stopped');
});

test('a folder that contains itself is entered 32 levels deep', async () => {
    /** @type {import('../support/tree_session.js').Folder} */
    const loop = { 'a.opus': '' };
    loop.again = loop;
    const { queue } = setUp({ loop });
    await queue.addToQueue(['/file/loop']);
    assert.equal(queue.entries.length, 32);
});

test('the pages of a large folder are of one version, which begins anew when it changes', async () => {
    const { session, queue } = setUp({ Large: Object.fromEntries(Array.from({ length: 25 }, (_, n) => [`${n}x.opus`, ''])) });
    session.pageSize = 10;
    let changes = 2;
    session.before = (request) => {
        if (request === 'rows /file/Large 20' && changes-- > 0) session.change('/file/Large');
    };
    await queue.addToQueue(['/file/Large']);
    assert.equal(new Set(paths(queue)).size, 25);
    assert.equal(session.requests.filter((request) => request === 'rows /file/Large 0').length, 4);
    assert.deepEqual(session.openPaths, []);
});

test('a small folder is not opened', async () => {
    const { session, queue } = setUp();
    await queue.addToQueue(['/file/Albums']);
    assert.deepEqual(session.requests.filter((request) => request.startsWith('open')), []);
});

test('play now inserts behind the current entry and plays', async () => {
    const { queue } = setUp();
    await queue.addToQueue(['/file/Albums/Blue']);
    queue.play();
    const added = await queue.playNow(['/file/Albums/Red']);
    assert.deepEqual(added, { added: 1, first: 3 });
    assert.deepEqual([queue.place(3), queue.current?.id, queue.following?.id, queue.state], [1, 3, 2, 'playing']);
});

test('play next and add to queue leave what plays alone', async () => {
    const { queue } = setUp();
    await queue.playNow(['/file/05.opus']);
    const { starts } = queue;
    await queue.addToQueue(['/file/Albums/04.opus']);
    await queue.playNext(['/file/Albums/Red']);
    assert.deepEqual(paths(queue), ['/file/05.opus', '/file/Albums/Red/03.opus', '/file/Albums/04.opus']);
    assert.equal(queue.starts, starts);
});

test('replacing can be taken back', async () => {
    const { queue } = setUp();
    await queue.playNow(['/file/05.opus']);
    const replaced = await queue.replaceQueue(['/file/Albums/Blue']);
    assert.equal(queue.current?.path, '/file/Albums/Blue/01.opus');
    await queue.undo(Number(replaced?.undo));
    assert.deepEqual(paths(queue), ['/file/05.opus']);
});

test('the last of two commands to play wins, however long the first one takes', async () => {
    const { session, queue } = setUp();
    /** @type {(value?: unknown) => void} */
    let release = () => {};
    const held = new Promise((resolve) => (release = resolve));
    session.before = (request) => (request.startsWith('rows /file/Albums') ? held : null);
    const first = queue.playNow(['/file/Albums']);
    await queue.playNow(['/file/05.opus']);
    release();
    assert.equal(await first, null);
    assert.deepEqual(paths(queue), ['/file/05.opus']);
});

test('additions keep the order of the commands, however long the first one takes', async () => {
    const { session, queue } = setUp();
    session.before = (request) => (request.startsWith('rows') ? new Promise((resolve) => setImmediate(resolve)) : null);
    await Promise.all([queue.addToQueue(['/file/Albums/Blue']), queue.addToQueue(['/file/05.opus'])]);
    assert.deepEqual(paths(queue), ['/file/Albums/Blue/01.opus', '/file/Albums/Blue/02.opus', '/file/05.opus']);
});

test('an addition that fails does not stop those behind it', async () => {
    const { queue } = setUp();
    const results = await Promise.allSettled([queue.addToQueue(['/file/Nowhere']), queue.addToQueue(['/file/05.opus'])]);
    assert.deepEqual(results.map((result) => result.status), ['rejected', 'fulfilled']);
    assert.equal(queue.entries.length, 1);
});

test('what is being added when the queue is cleared does not arrive', async () => {
    const { queue } = setUp();
    const adding = queue.addToQueue(['/file/Albums']);
    assert.equal(queue.busy, true);
    await queue.clear();
    assert.equal(await adding, null);
    assert.equal(queue.entries.length, 0);
    await queue.addToQueue(['/file/05.opus']);
    assert.equal(queue.entries.length, 1);
});

test('entries appear at once and get their tags behind', async () => {
    const { queue } = setUp();
    await queue.addToQueue(['/file/Albums/Blue']);
    assert.deepEqual([queue.entries[0].title, queue.entries[0].duration], ['01.opus', 0]);
    await until(queue, 'tags', () => queue.entries[1].duration > 0);
    assert.deepEqual([queue.entries[0].title, queue.entries[0].artist, queue.entries[0].album], ['Title of 01.opus', 'Ann', '']);
});

test('tags that are refused together are asked for one by one', async () => {
    const { session, queue } = setUp();
    session.before = (request) => {
        if (/^set .* [2-9]/.test(request)) throw Object.assign(new Error('refused'), { code: -32000 });
    };
    await queue.addToQueue(['/file/Albums']);
    await until(queue, 'tags', () => queue.entries.every((entry) => entry.duration > 0));
});

test('tags wait for a lost connection to come back', async () => {
    const { session, queue } = setUp();
    session.state = 'lost';
    await queue.addToQueue(['/file/05.opus']);
    assert.equal(session.requests.filter((request) => request.startsWith('set')).length, 0);
    session.state = 'online';
    session.dispatchEvent(new Event('state'));
    await until(queue, 'tags', () => queue.entries[0].duration > 0);
});

test('the tags of a long queue are read for what plays and what is in view', async () => {
    const { session, queue } = setUp({ Long: Object.fromEntries(Array.from({ length: 3000 }, (_, n) => [`${n}x.opus`, ''])) });
    await queue.addToQueue(['/file/Long']);
    queue.play(2000);
    queue.want([2500, 2501]);
    await until(queue, 'tags', () => queue.entries[2500].duration > 0);
    await new Promise((resolve) => setImmediate(resolve));
    const known = queue.entries.filter((entry) => entry.duration > 0).map((entry) => entry.id);
    assert.deepEqual(known, [2000, 2001, 2500, 2501]);
    assert.ok(session.requests.filter((request) => request.startsWith('set')).length <= 2);
});

test('events say what changed', async () => {
    const { queue } = setUp();
    /** @type {string[]} */
    const heard = [];
    for (const type of ['entries', 'player', 'tags', 'busy']) queue.addEventListener(type, () => heard.push(type));
    await queue.playNow(['/file/05.opus']);
    assert.deepEqual(heard, ['busy', 'busy', 'entries', 'player']);
    heard.length = 0;
    queue.pause();
    assert.deepEqual(heard, ['player']);
    heard.length = 0;
    queue.failed(1);
    assert.deepEqual(heard, ['player', 'tags']);
    heard.length = 0;
    await queue.move([1], 'head');
    await queue.remove([1]);
    assert.deepEqual(heard, ['entries', 'player', 'entries', 'player']);
});

test('the length that the loudspeaker finds is shown', async () => {
    const { queue } = setUp();
    await queue.addToQueue(['/file/05.opus']);
    queue.measured(1, 61000);
    assert.equal(queue.entry(1)?.duration, 61000);
});

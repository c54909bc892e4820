import assert from 'node:assert/strict';
import { test } from 'node:test';

import { Rows } from '../../../web/app/rows.js';
import { Session } from '../../../web/app/session.js';
import { next } from '../support/events.js';
import { FakeHost, FakeNetwork } from '../support/fake_host.js';

const path = '/file/Albums';

/** @param {number} count */
function names(count) {
    return Array.from({ length: count }, (_, index) => `${String(index).padStart(6, '0')}.opus`);
}

/** @param {string[]} files */
async function opened(files) {
    const host = new FakeHost();
    host.addDirectory('/file/', ['Albums/']);
    host.addDirectory(path, files);
    const network = new FakeNetwork(host);
    const session = new Session({ connect: network.connect });
    session.start();
    const rows = new Rows(session, path);
    await rows.start();
    return { host, network, rows, session };
}

/**
 * @param {Rows} rows
 * @param {number} first
 * @param {number} last
 */
function titles(rows, first, last) {
    return Array.from({ length: last - first + 1 }, (_, offset) => rows.at(first + offset)?.title);
}

/** @param {Rows} rows */
async function shown(rows, first = 0, last = 20, eye = -1) {
    rows.show(first, last, eye);
    while (titles(rows, first, last).includes(undefined)) await next(rows, 'rows');
}

/** @param {Rows} rows */
function changed(rows) {
    return next(rows, 'change');
}

test('the first rows come with the first answer', async () => {
    const { host, rows } = await opened(names(50));
    assert.equal(rows.state, 'ready');
    assert.deepEqual([rows.count, rows.at(0)?.title, rows.at(49)?.title], [50, '000000.opus', '000049.opus']);
    assert.equal(host.asked('rows').length, 1);
});

test('what comes into view at first needs no second request', async () => {
    const { host, rows } = await opened(names(100000));
    rows.show(0, 30);
    assert.equal(host.asked('rows').length, 1);
});

test('rows are fetched around those in view only', async () => {
    const { host, rows } = await opened(names(100000));
    await shown(rows, 50000, 50040);
    assert.equal(rows.at(50020)?.title, '050020.opus');
    assert.equal(rows.at(99999), undefined);
    assert(host.asked('rows').length <= 4);
});

test('all 100,000 rows can be shown one view after the other', async () => {
    const { rows } = await opened(names(100000));
    for (let first = 0; first < 100000; first += 1000) await shown(rows, first, first + 40);
    assert.equal(rows.at(99040)?.title, '099040.opus');
});

test('an answer shorter than asked for is completed', async () => {
    const { host, rows } = await opened(names(1000));
    host.valuesAtATime = 200;
    await rows.all();
    assert.equal(rows.at(999)?.title, '000999.opus');
});

test('answers that would have too much text are asked for in parts', async () => {
    const { host, rows } = await opened(names(30000));
    host.textAtATime = 300000;
    await rows.all();
    assert.equal(rows.nameAt(29999)?.title, '029999.opus');
});

test('a path is found in answers that have little text', async () => {
    const { host, rows } = await opened(names(30000));
    host.textAtATime = 300000;
    assert.equal(await rows.find(`${path}/029999.opus`), 29999);
});

test('a change replaces the rows', async () => {
    const { host, rows } = await opened(['a.opus']);
    host.change(path, ['a.opus', 'b.opus']);
    await changed(rows);
    assert.deepEqual(titles(rows, 0, rows.count - 1), ['a.opus', 'b.opus']);
});

test('the row at the eye stays where it is when rows come above it', async () => {
    const { host, rows } = await opened(names(1000));
    await shown(rows, 500, 520, 500);
    host.change(path, ['!1.opus', '!2.opus', ...names(1000)]);
    assert.equal((await changed(rows)).moved, 2);
    assert.equal(rows.at(502)?.title, '000500.opus');
});

test('the row at the eye is found again however far it has moved', async () => {
    const { host, rows } = await opened(names(10000));
    await shown(rows, 500, 520, 500);
    host.change(path, [...names(5000).map((name) => `!${name}`), ...names(10000)]);
    assert.equal((await changed(rows)).moved, 5000);
    assert.equal(rows.at(5500)?.title, '000500.opus');
});

test('the next row stays where it is when the one at the eye is removed', async () => {
    const { host, rows } = await opened(names(1000));
    await shown(rows, 500, 520, 500);
    host.change(path, names(1000).filter((_, index) => index < 490 || index > 500));
    assert.equal((await changed(rows)).moved, -11);
    assert.equal(rows.at(490)?.title, '000501.opus');
});

test('the head of the list stays at the head', async () => {
    const { host, rows } = await opened(names(100));
    await shown(rows, 0, 20, -1);
    host.change(path, ['!.opus', ...names(100)]);
    assert.equal((await changed(rows)).moved, 0);
});

test('new rows in view are fresh, others are not', async () => {
    const { host, rows } = await opened(names(10));
    await shown(rows, 0, 9);
    host.change(path, [...names(10), 'new.opus']);
    rows.show(0, 20);
    assert.deepEqual([...(await changed(rows)).fresh], [`${path}/new.opus`]);
});

test('the first rows are not fresh', async () => {
    const host = new FakeHost();
    host.addDirectory(path, ['a.opus']);
    const session = new Session({ connect: new FakeNetwork(host).connect });
    session.start();
    const rows = new Rows(session, path);
    const change = changed(rows);
    void rows.start();
    assert.equal((await change).fresh.size, 0);
});

test('rows of two versions never mix', async () => {
    const { host, rows } = await opened(names(1000));
    host.before = async (request) => {
        if (request.method !== 'rows' || request.params.version === 0) return;
        host.before = async () => {};
        host.addDirectory(path, names(1000).map((name) => `new ${name}`));
    };
    const change = changed(rows);
    rows.show(600, 620);
    await change;
    await shown(rows, 600, 620);
    assert.deepEqual([rows.at(0), rows.at(600)?.title].filter((value) => value !== undefined), ['new 000600.opus']);
});

test('changes during a refresh lead to the last version', async () => {
    const { host, rows } = await opened(names(10));
    for (let round = 0; round < 5; ++round) host.change(path, [`${round}.opus`]);
    while (rows.at(0)?.title !== '4.opus') await changed(rows);
    assert.equal(rows.count, 1);
});

test('rows in view are replaced only when the new ones are there', async () => {
    const { host, rows } = await opened(names(1000));
    await shown(rows, 500, 520, 500);
    host.change(path, names(600));
    await changed(rows);
    assert(!titles(rows, 500, 520).includes(undefined));
});

test('a list that shrinks below the view shows its end', async () => {
    const { host, rows } = await opened(names(1000));
    await shown(rows, 900, 920, 900);
    host.change(path, names(100));
    await changed(rows);
    assert(!titles(rows, 79, 99).includes(undefined));
});

test('a filter shows the rows that have all words, whatever their case and accents', async () => {
    const { rows } = await opened(['Älska mig.opus', 'alska dig.opus', 'other.opus']);
    await rows.setFilter('ALSKA mig');
    assert.deepEqual([rows.count, rows.at(0)?.title], [1, 'Älska mig.opus']);
    await rows.setFilter('');
    assert.equal(rows.count, 3);
});

test('a filter finds rows that have not been in view', async () => {
    const { rows } = await opened(names(100000));
    await rows.setFilter('99999');
    assert.deepEqual([rows.count, rows.total, rows.nameAt(0)?.title], [1, 100000, '099999.opus']);
    await shown(rows, 0, 0);
    assert.equal(rows.at(0)?.type, 'audio');
});

test('a filter over 100,000 rows makes the host list twice, and over 25,000 once', async () => {
    for (const [count, listings] of [[100000, 2], [25000, 1]]) {
        const { host, rows } = await opened(names(count));
        const before = host.asked('rows').length;
        await rows.setFilter('9');
        await shown(rows, 0, 30);
        assert.equal(host.asked('rows').length - before, listings);
    }
});

test('rows that pass a filter are asked for as they come into view', async () => {
    const { host, rows } = await opened(names(100000));
    await rows.setFilter('77');
    await shown(rows, 100, 129);
    await shown(rows, 120, 149);
    const paths = new Set(host.asked('data').map((asked) => asked.path));
    assert.deepEqual([paths.size, host.asked('data').length], [70, 70]);
});

test('a row that passes a filter but is gone is shown as its name', async () => {
    const { host, rows } = await opened(names(30000));
    await rows.setFilter('29999');
    host.addDirectory(path, []);
    await shown(rows, 0, 0);
    assert.deepEqual([rows.at(0)?.title, rows.at(0)?.type], ['029999.opus', '']);
});

test('all rows can be shown again after a filter', async () => {
    const { rows } = await opened(names(100000));
    await rows.setFilter('77');
    await rows.setFilter('');
    await shown(rows, 500, 540);
    assert.deepEqual([rows.count, rows.at(540)?.title], [100000, '000540.opus']);
});

test('a change under a filter shows the rows that pass now', async () => {
    const { host, rows } = await opened(names(30000));
    await rows.setFilter('2999');
    await shown(rows, 0, 9);
    host.change(path, names(29995));
    await changed(rows);
    assert.deepEqual(titles(rows, 0, rows.count - 1).slice(-2), ['029993.opus', '029994.opus']);
});

test('a filter stays over a change', async () => {
    const { host, rows } = await opened(['a.opus', 'b.opus']);
    await rows.setFilter('a');
    host.change(path, ['a.opus', 'a2.opus', 'b.opus']);
    await changed(rows);
    assert.deepEqual(titles(rows, 0, rows.count - 1), ['a.opus', 'a2.opus']);
});

test('a path is found wherever it is', async () => {
    const { rows } = await opened(names(50000));
    assert.equal(await rows.find(`${path}/049999.opus`), 49999);
    assert.equal(await rows.find(`${path}/missing`), undefined);
});

test('a directory that cannot be read says why', async () => {
    const host = new FakeHost();
    host.addDirectory('/file/', []);
    host.faults.set(path, { name: 'error', message: 'permission denied' });
    const session = new Session({ connect: new FakeNetwork(host).connect });
    session.start();
    const rows = new Rows(session, path);
    await rows.start();
    assert.deepEqual([rows.state, rows.error?.message], ['unreadable', 'permission denied']);
});

test('a removed directory is gone, and comes back with its parent', async () => {
    const { host, rows } = await opened(['a.opus']);
    host.remove(path);
    await next(rows, 'state', () => rows.state === 'gone');
    while (!host.asked('open').some((asked) => asked.path === '/file/')) await new Promise(setImmediate);
    host.addDirectory(path, ['b.opus']);
    host.change('/file/', ['Albums/']);
    await next(rows, 'state', () => rows.state === 'ready');
    assert.equal(rows.at(0)?.title, 'b.opus');
});

test('stopped rows close their directory', async () => {
    const { host, rows } = await opened(['a.opus']);
    rows.stop();
    assert.deepEqual(host.asked('close'), [{ path }]);
});

test('a busy host is asked again', async () => {
    const { host, rows } = await opened(['a.opus']);
    host.faults.set(path, { name: 'error', message: 'too much under way', code: -32004 });
    const refused = new Promise((resolve) => {
        host.before = async (request) => void (request.method === 'rows' && resolve(undefined));
    });
    /** @type {string[]} */
    const states = [];
    rows.addEventListener('state', () => states.push(rows.state));
    host.change(path, ['b.opus']);
    await refused;
    host.faults.clear();
    await changed(rows);
    assert.equal(rows.at(0)?.title, 'b.opus');
    assert.deepEqual(states, ['ready']);
});

test('a change while all rows are fetched for a filter leads to the new rows', async () => {
    const { host, rows } = await opened(names(1000));
    host.valuesAtATime = 2000;
    await rows.setFilter('9.opus');
    const change = changed(rows);
    host.change(path, names(1200));
    host.before = async (request) => {
        if (request.method !== 'rows' || request.params.version === undefined) return;
        host.before = async () => {};
        host.addDirectory(path, names(1300));
    };
    await change;
    assert.deepEqual([rows.total, rows.count], [1300, 130]);
});

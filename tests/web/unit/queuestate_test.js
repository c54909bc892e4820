import assert from 'node:assert/strict';
import { test } from 'node:test';

import { QueueState, mostEntries, mostFailures } from '../../../web/app/queuestate.js';

/** @param {string} names one letter an entry */
function sources(names) {
    return [...names].map((name) => ({ path: `/file/${name}.opus`, title: name }));
}

/** @param {QueueState} queue */
function titles(queue) {
    return queue.entries.map((entry) => entry.title).join('');
}

/** @param {QueueState} queue */
function playing(queue) {
    return queue.entry(queue.current)?.title ?? '-';
}

/** @param {QueueState} queue @param {string} title */
function idOf(queue, title) {
    return queue.entries.find((entry) => entry.title === title)?.id ?? 0;
}

/**
 * A queue whose entry `current` plays.
 * @param {string} names
 * @param {string} [current]
 */
function queueOf(names, current) {
    const queue = new QueueState(numbers());
    queue.append(sources(names));
    if (current) queue.play(idOf(queue, current));
    return queue;
}

/** Numbers that look random and are the same in each run. */
function numbers() {
    let seed = 7;
    return () => (seed = (seed * 16807) % 2147483647) / 2147483647;
}

/** @type {Record<string, (queue: QueueState) => unknown>} */
const steps = {
    next: (queue) => queue.skip(),
    previous: (queue) => queue.previous(),
    ended: (queue) => queue.ended(Number(queue.current)),
    failed: (queue) => queue.failed(Number(queue.current)),
    pause: (queue) => queue.pause(),
    play: (queue) => queue.play(),
    stop: (queue) => queue.stop(),
    'remove current': (queue) => queue.remove([Number(queue.current)]),
    'remove all but it': (queue) => queue.remove(queue.entries.map(({ id }) => id).filter((id) => id !== queue.current)),
    clear: (queue) => queue.clear(),
    'append x': (queue) => queue.append(sources('x')),
};

/** @type {[names: string, current: string, repeat: 'off' | 'all' | 'one', steps: string, expected: string][]} */
const table = [
    ['abc', 'a', 'off', 'next', 'b playing'],
    ['abc', 'c', 'off', 'next', 'c stopped'],
    ['abc', 'c', 'all', 'next', 'a playing'],
    ['abc', 'c', 'one', 'next', 'a playing'],
    ['abc', 'b', 'off', 'previous', 'a playing'],
    ['abc', 'a', 'off', 'previous', 'a playing'],
    ['abc', 'a', 'all', 'previous', 'c playing'],
    ['abc', 'a', 'off', 'pause, next', 'b paused'],
    ['abc', 'a', 'off', 'pause, play', 'a playing'],
    ['abc', 'a', 'off', 'stop, play', 'a playing'],
    ['abc', 'a', 'off', 'ended', 'b playing'],
    ['abc', 'c', 'off', 'ended', 'c stopped'],
    ['abc', 'c', 'off', 'ended, play', 'a playing'],
    ['abc', 'c', 'off', 'ended, append x, play', 'x playing'],
    ['abc', 'c', 'all', 'ended', 'a playing'],
    ['abc', 'b', 'one', 'ended', 'b playing'],
    ['a', 'a', 'all', 'ended', 'a playing'],
    ['abc', 'a', 'off', 'failed', 'b playing'],
    ['abc', 'a', 'one', 'failed', 'b playing'],
    ['abc', 'c', 'off', 'failed', 'c stopped'],
    ['ab', 'a', 'all', 'failed, failed', 'b stopped'],
    ['a', 'a', 'one', 'failed', 'a stopped'],
    ['abc', 'b', 'off', 'remove current', 'c playing'],
    ['abc', 'c', 'off', 'remove current', '- stopped'],
    ['abc', 'c', 'all', 'remove current', 'a playing'],
    ['abc', 'b', 'off', 'pause, remove current', 'c paused'],
    ['abc', 'b', 'off', 'remove all but it', 'b playing'],
    ['a', 'a', 'all', 'remove current', '- stopped'],
    ['abc', 'b', 'all', 'clear', '- stopped'],
    ['abc', 'b', 'off', 'clear, append x, play', 'x playing'],
    ['', '', 'off', 'play', '- stopped'],
    ['', '', 'all', 'next, previous', '- stopped'],
    ['abc', '', 'off', 'play', 'a playing'],
    ['abc', '', 'off', 'next', '- stopped'],
];

for (const [names, current, repeat, commands, expected] of table) {
    test(`"${names}" at ${current || 'nothing'}, repeat ${repeat}: ${commands} gives ${expected}`, () => {
        const queue = queueOf(names, current);
        queue.repeat = repeat;
        for (const command of commands.split(', ')) steps[command](queue);
        assert.equal(`${playing(queue)} ${queue.state}`, expected);
    });
}

test('an entry that the loudspeaker goes on with is not started again', () => {
    const queue = queueOf('ab', 'a');
    const { starts } = queue;
    queue.ended(Number(queue.current));
    assert.equal(queue.starts, starts);
    queue.previous();
    assert.equal(queue.starts, starts + 1);
});

test('an end or a failure that comes too late changes nothing', () => {
    const queue = queueOf('abc', 'b');
    queue.ended(idOf(queue, 'a'));
    queue.failed(idOf(queue, 'a'));
    assert.equal(playing(queue), 'b');
    assert.equal(queue.entries[0].failed, true);
});

test('ten failures in a row stop the playing', () => {
    const queue = queueOf('abcdefghijklmnop', 'a');
    for (let failures = 1; failures < mostFailures; ++failures) queue.failed(Number(queue.current));
    assert.equal(queue.state, 'playing');
    queue.failed(Number(queue.current));
    assert.equal(`${playing(queue)} ${queue.state}`, 'j stopped');
});

test('an entry that is heard begins the count of failures anew, and is no longer marked', () => {
    const queue = queueOf('abcdefghijklmnop', 'a');
    for (let failures = 1; failures < mostFailures; ++failures) queue.failed(Number(queue.current));
    queue.failed(idOf(queue, 'p'));
    queue.play(idOf(queue, 'p'));
    queue.started(idOf(queue, 'p'));
    queue.previous();
    queue.failed(Number(queue.current));
    assert.equal(`${playing(queue)} ${queue.state}`, 'p playing');
    assert.equal(queue.entry(idOf(queue, 'p'))?.failed, false);
});

test('entries are inserted behind the current one, or at the head, and appended at the end', () => {
    const queue = queueOf('abc');
    queue.insertNext(sources('x'));
    assert.equal(titles(queue), 'xabc');
    queue.play(idOf(queue, 'b'));
    queue.insertNext(sources('yz'));
    queue.append(sources('e'));
    assert.equal(titles(queue), 'xabyzce');
});

test('ids rise from 1 and are not used again', () => {
    const queue = queueOf('ab');
    queue.clear();
    queue.append(sources('c'));
    assert.deepEqual(queue.entries.map((entry) => entry.id), [3]);
});

test('an entry knows its bytes and nothing that its file does not say', () => {
    assert.deepEqual(queueOf('a').entries[0], {
        id: 1, path: '/file/a.opus', title: 'a', artist: '', album: '', duration: 0, uri: 'media/file/a.opus', failed: false,
    });
});

/** @type {[moved: string, after: string, expected: string][]} */
const moves = [
    ['a', 'c', 'bcade'],
    ['e', 'head', 'eabcd'],
    ['db', 'a', 'adbce'],
    ['bd', 'e', 'acebd'],
    ['ab', 'b', 'abcde'],
    ['b', 'a', 'abcde'],
    ['a', 'head', 'abcde'],
    ['a', 'z', 'abcde'],
];

for (const [moved, after, expected] of moves) {
    test(`moving ${moved} behind ${after} gives ${expected}`, () => {
        const queue = queueOf('abcde', 'c');
        const anchor = after === 'head' ? after : idOf(queue, after);
        const changed = queue.move([...moved].map((title) => idOf(queue, title)), anchor);
        assert.equal(titles(queue), expected);
        assert.equal(changed, expected !== 'abcde');
        assert.equal(playing(queue), 'c');
    });
}

test('undo brings removed entries back to their places, under their ids', () => {
    const queue = queueOf('abcdef', 'c');
    const before = queue.entries.slice();
    const edit = Number(queue.remove([1, 2, 5]));
    assert.equal(titles(queue), 'cdf');
    assert.equal(queue.undo(edit), true);
    assert.deepEqual(queue.entries, before);
    assert.equal(queue.undo(edit), false);
});

test('undo puts entries behind what still precedes them', () => {
    const queue = queueOf('abcdef');
    const edit = Number(queue.remove([3, 4]));
    queue.remove([2]);
    queue.append(sources('x'));
    queue.move([6], 'head');
    queue.undo(edit);
    assert.equal(titles(queue), 'facdex');
});

test('undo of clearing makes the same entry current, without playing it', () => {
    const queue = queueOf('abc', 'b');
    queue.undo(Number(queue.clear()));
    assert.equal(`${titles(queue)} ${playing(queue)} ${queue.state}`, 'abc b stopped');
});

test('undo of replacing brings the old entries back in place of the new ones', () => {
    const queue = queueOf('abc', 'b');
    const edit = queue.replace(sources('xy'));
    assert.equal(`${titles(queue)} ${playing(queue)} ${queue.state}`, 'xy x playing');
    queue.append(sources('z'));
    queue.undo(edit);
    assert.equal(`${titles(queue)} ${playing(queue)} ${queue.state}`, 'abcz b playing');
});

test('removing nothing cannot be undone', () => {
    assert.equal(queueOf('abc').remove([99]), null);
    assert.equal(queueOf('').clear(), null);
});

test('shuffle plays each entry once, and previous walks back the same way', () => {
    const queue = queueOf('abcdefghij', 'd');
    queue.setShuffle(true);
    const forth = [playing(queue)];
    for (queue.skip(); queue.state === 'playing'; queue.skip()) forth.push(playing(queue));
    assert.equal(forth[0], 'd');
    assert.notEqual(forth.join(''), 'dabcefghij');
    assert.equal([...forth].sort().join(''), 'abcdefghij');
    const back = [];
    for (let count = 0; count < forth.length; ++count, queue.previous()) back.push(playing(queue));
    assert.deepEqual(back, forth.slice().reverse());
    assert.equal(titles(queue), 'abcdefghij');
});

test('shuffle off goes on in the order shown', () => {
    const queue = queueOf('abcd', 'b');
    queue.setShuffle(true);
    queue.setShuffle(false);
    queue.skip();
    assert.equal(playing(queue), 'c');
});

test('shuffled, what is to play next does, and what is added plays before the round ends', () => {
    const queue = queueOf('abcd', 'b');
    queue.setShuffle(true);
    queue.insertNext(sources('x'));
    queue.append(sources('yz'));
    queue.skip();
    queue.previous();
    const heard = [];
    for (; queue.state === 'playing'; queue.skip()) heard.push(playing(queue));
    assert.equal(heard[0], 'b');
    assert.equal(heard.sort().join(''), 'abcdxyz');
});

test('a replaced queue begins with its first entry, shuffled or not', () => {
    const queue = queueOf('ab', 'a');
    queue.setShuffle(true);
    queue.replace(sources('uvwxyz'));
    assert.equal(playing(queue), 'u');
});

test('undo restores the playing order, too', () => {
    const queue = queueOf('abcdef', 'a');
    queue.setShuffle(true);
    const second = Number(queue.next);
    queue.undo(Number(queue.remove([second])));
    assert.equal(queue.next, second);
});

test('the entry that follows by itself depends on repeat', () => {
    const queue = queueOf('ab', 'b');
    assert.equal(queue.next, null);
    queue.repeat = 'all';
    assert.equal(queue.next, idOf(queue, 'a'));
    queue.repeat = 'one';
    assert.equal(queue.next, idOf(queue, 'b'));
});

test('a queue holds 50,000 entries, and an edit beyond that changes nothing', () => {
    const queue = queueOf('', '');
    queue.append(Array.from({ length: mostEntries - 1 }, () => sources('a')[0]));
    assert.throws(() => queue.append(sources('xy')), { name: 'queueFull' });
    assert.equal(queue.entries.length, mostEntries - 1);
    queue.append(sources('x'));
    assert.throws(() => queue.insertNext(sources('y')), { name: 'queueFull' });
    queue.replace(sources('abc'));
    assert.equal(titles(queue), 'abc');
});

test('what becomes known of an entry is filled in; an entry that is gone is left out', () => {
    const queue = queueOf('a');
    queue.update(new Map([[1, { title: 'A', duration: 5 }], [9, { title: 'B' }]]));
    assert.deepEqual([queue.entries[0].title, queue.entries[0].duration, queue.entries.length], ['A', 5, 1]);
});

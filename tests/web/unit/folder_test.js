import assert from 'node:assert/strict';
import { test } from 'node:test';

import { fold, wordsMatcher } from '../../../web/app/listing.js';
import { coverAddress, lineage, mediaAddress, nameOf, parent } from '../../../web/app/paths.js';
import { Selection } from '../../../web/app/selection.js';
import { TypeAhead } from '../../../web/app/typeahead.js';

test('the parent of a path is the folder above, up to the top', () => {
    const cases = [
        ['/file/Albums/Blue', '/file/Albums'],
        ['/file/Albums', '/file/'],
        ['/file/', '/'],
        ['/', '/'],
    ];
    for (const [path, above] of cases) assert.equal(parent(path), above, path);
});

test('a lineage begins at the top', () => {
    assert.deepEqual(lineage('/file/Albums/Blue'), ['/', '/file/', '/file/Albums', '/file/Albums/Blue']);
    assert.deepEqual(lineage('/'), ['/']);
});

test('a name is the decoded last segment', () => {
    assert.equal(nameOf('/file/Albums/Caf%C3%A9%20%231'), 'Café #1');
    assert.equal(nameOf('/file/'), 'file');
    assert.equal(nameOf('/file/%FF'), '%FF');
});

test('addresses of bytes and covers are relative to the page', () => {
    assert.equal(mediaAddress('/file/a%20b.opus'), 'media/file/a%20b.opus');
    assert.equal(coverAddress('/file/Albums', 400), 'cover/file/Albums?width=400');
});

test('comparing ignores case and accents', () => {
    assert.equal(fold('ÅÉ ß 紙'), 'ae ß 紙');
});

test('a filter matches every word anywhere in a title', () => {
    const matches = wordsMatcher('win  rain');
    const row = (/** @type {string} */ title) => ({ path: '', title, type: 'audio', timestamp: 0 });
    assert.equal(matches?.(row('Songs for Rainy Windows')), true);
    assert.equal(matches?.(row('Songs for Windows')), false);
    assert.equal(wordsMatcher('  '), null);
});

test('a selection keeps its anchor while a range grows', () => {
    const selection = new Selection();
    selection.only('b');
    selection.range(['b', 'c', 'd'], 'd');
    assert.deepEqual([selection.anchor, selection.focus, selection.size], ['b', 'd', 3]);
});

test('an action concerns the selection only if its entry belongs to it', () => {
    const selection = new Selection();
    selection.only('a');
    selection.toggle('b');
    assert.deepEqual(selection.concernedBy('a'), ['a', 'b']);
    assert.deepEqual(selection.concernedBy('c'), ['c']);
});

const names = ['Amber', 'Ash', 'Blue', 'Été'];
const find = (/** @type {TypeAhead} */ typed, /** @type {number} */ from) => typed.find(from, names.length, (index) => [names[index]]);

test('letters typed soon after one another make one name', () => {
    let now = 0;
    const typed = new TypeAhead(() => now);
    typed.type('a');
    now = 500;
    typed.type('s');
    assert.equal(find(typed, 0), 1);
});

test('the same letter after a pause finds the next name and begins again at the end', () => {
    let now = 0;
    const typed = new TypeAhead(() => now);
    typed.type('a');
    assert.equal(find(typed, -1), 0);
    now = 2000;
    typed.type('a');
    assert.equal(find(typed, 0), 1);
    assert.equal(find(typed, 1), 0);
});

test('letters find names with accents, and nothing without such a name', () => {
    const typed = new TypeAhead();
    typed.type('e');
    assert.equal(find(typed, -1), 3);
    const other = new TypeAhead();
    other.type('x');
    assert.equal(find(other, -1), -1);
});

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { movedBehind } from '../../../web/app/reorder.js';

/** @param {number} count */
function indices(count) {
    return Array.from({ length: count }, (_, index) => index);
}

/** What the move should do, by a copy of the list. @param {number} count @param {number[]} moved @param {number} anchor */
function moveInCopy(count, moved, anchor) {
    const others = indices(count).filter((index) => !moved.includes(index));
    const place = others.indexOf(anchor) + 1;
    return [...others.slice(0, place), ...moved, ...others.slice(place)];
}

/** @type {[string, number[], number][]} */
const moves = [
    ['one row down', [1], 3],
    ['one row up', [3], 0],
    ['one row to the head', [4], -1],
    ['one row to the end', [0], 6],
    ['rows from both sides of the anchor', [5, 1], 3],
    ['rows in another order', [6, 2, 4], 0],
    ['neighbours that stay', [2, 3], 1],
    ['nothing', [], 3],
];

for (const [name, moved, anchor] of moves) {
    test(`a move of ${name} gives each row its place, and each place its row`, () => {
        const reorder = movedBehind(moved, anchor);
        const wanted = moveInCopy(7, moved, anchor);
        assert.deepEqual(indices(7).map((index) => reorder.before(index)), wanted);
        assert.deepEqual(wanted.map((index) => reorder.after(index)), indices(7));
    });
}

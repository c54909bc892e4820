/** Where the rows of a list are after some of them have moved, row by row and without a copy of the list. */
export class Reorder {
    #moved;
    #sorted;
    #to;

    /**
     * @param {number[]} moved indices before, in the order that the rows have afterwards
     * @param {number} to index of the first of them afterwards
     */
    constructor(moved, to) {
        this.#moved = moved;
        this.#sorted = moved.slice().sort((one, other) => one - other);
        this.#to = to;
    }

    /** The index before of the row that is at an index afterwards. @param {number} index */
    before(index) {
        const count = this.#moved.length;
        if (index >= this.#to && index < this.#to + count) return this.#moved[index - this.#to];
        let found = index < this.#to ? index : index - count;
        for (const moved of this.#sorted) if (moved <= found) ++found;
        return found;
    }

    /** The index afterwards of the row that was at an index before. @param {number} index */
    after(index) {
        const place = this.#moved.indexOf(index);
        if (place >= 0) return this.#to + place;
        const rank = rankAmongOthers(this.#sorted, index);
        return rank < this.#to ? rank : rank + this.#moved.length;
    }
}

/**
 * Puts rows behind another one.
 * @param {number[]} moved indices in the order that the rows get
 * @param {number} anchor index of the row in front of them, -1 for the head of the list
 */
export function movedBehind(moved, anchor) {
    return new Reorder(moved, anchor < 0 ? 0 : rankAmongOthers(moved, anchor) + 1);
}

/**
 * The index of a row in the list without those that move.
 * @param {number[]} moved
 * @param {number} index
 */
function rankAmongOthers(moved, index) {
    return index - moved.filter((other) => other < index).length;
}

import { fold } from './listing.js';

const pause = 800;

/** Finds a name by its first letters, typed one soon after the other. */
export class TypeAhead {
    #typed = '';
    #typedAt = -Infinity;
    #now;

    /** @param {() => number} [now] milliseconds */
    constructor(now = () => performance.now()) {
        this.#now = now;
    }

    /** Whether the next letter continues a name. */
    get typing() {
        return this.#now() - this.#typedAt < pause;
    }

    /** @param {string} letter */
    type(letter) {
        this.#typed = this.typing ? this.#typed + letter : letter;
        this.#typedAt = this.#now();
    }

    /**
     * The next name that begins as typed. A single letter looks behind the one where the search begins, so that the same
     * letter after a pause finds the next name.
     * @param {number} from index where the search begins, -1 for the head of the list
     * @param {number} count
     * @param {(index: number) => string[]} namesAt
     * @returns {number} -1 if there is none
     */
    find(from, count, namesAt) {
        const typed = fold(this.#typed);
        const begin = typed.length === 1 ? from + 1 : Math.max(0, from);
        for (let step = 0; step < count; ++step) {
            const index = (begin + step) % count;
            if (namesAt(index).some((name) => fold(name).startsWith(typed))) return index;
        }
        return -1;
    }
}

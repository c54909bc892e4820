/**
 * @typedef {object} Row
 * @property {string} path
 * @property {string} title
 * @property {string} type
 * @property {number | null} timestamp
 * @property {string} [folded] the title as `fold` makes it, once a filter asked for it
 */

/** The roles of a row, in the order of its values. */
export const roles = ['path', 'title', 'type', 'timestamp'];

/** One version of a directory's rows, as far as they have arrived. Rows of two versions never share a listing. */
export class Listing {
    /** @type {Row[]} with holes */
    #rows = [];
    #loaded = 0;
    /** @type {Map<string, number>} */
    #indices = new Map();
    /** @type {{ rows: Row[], indices: Map<string, number> } | null} */
    #filtered = null;

    /**
     * @param {number} version
     * @param {number} total number of all rows
     */
    constructor(version, total) {
        this.version = version;
        this.total = total;
    }

    /** Number of rows that pass the filter. */
    get count() {
        return this.#filtered ? this.#filtered.rows.length : this.total;
    }

    get complete() {
        return this.#loaded >= this.total;
    }

    /**
     * @param {number} index among those that pass the filter
     * @returns {Row | undefined} undefined if the row has not arrived
     */
    at(index) {
        return (this.#filtered?.rows ?? this.#rows)[index];
    }

    /**
     * @param {string} path
     * @returns {number | undefined} undefined if no row that has arrived and passes the filter has the path
     */
    indexOf(path) {
        return (this.#filtered?.indices ?? this.#indices).get(path);
    }

    /**
     * @param {number} first
     * @param {any[][]} values
     */
    add(first, values) {
        values.forEach((value, offset) => this.#put(first + offset, toRow(value)));
    }

    /**
     * The first gap between two indices of all rows.
     * @param {number} first
     * @param {number} last
     * @returns {number} -1 without a gap
     */
    gap(first, last) {
        const end = Math.min(last, this.total - 1);
        for (let index = Math.max(0, first); index <= end; ++index) if (!this.#rows[index]) return index;
        return -1;
    }

    /**
     * Shows only the rows that match; all of them have to be here.
     * @param {((row: Row) => boolean) | null} matches null shows all rows
     */
    filter(matches) {
        if (!matches) {
            this.#filtered = null;
            return;
        }
        const rows = this.#rows.filter(matches);
        this.#filtered = { rows, indices: new Map(rows.map((row, index) => [row.path, index])) };
    }

    /**
     * @param {number} index
     * @param {Row} row
     */
    #put(index, row) {
        if (!this.#rows[index]) ++this.#loaded;
        this.#rows[index] = row;
        this.#indices.set(row.path, index);
    }
}

/**
 * @param {any[]} values
 * @returns {Row}
 */
function toRow([path, title, type, timestamp]) {
    return { path, title: title ?? '', type: type ?? '', timestamp };
}

/**
 * A text without case and accents, for comparing.
 * @param {string} text
 */
export function fold(text) {
    return text.normalize('NFD').replace(/\p{M}/gu, '').toLowerCase();
}

/**
 * Matches rows whose title has all words of a text.
 * @param {string} text
 * @returns {((row: Row) => boolean) | null} null if the text has no words
 */
export function wordsMatcher(text) {
    const words = fold(text).split(/\s+/).filter(Boolean);
    if (words.length === 0) return null;
    return (row) => {
        const title = (row.folded ??= fold(row.title));
        return words.every((word) => title.includes(word));
    };
}

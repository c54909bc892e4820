/**
 * @typedef {object} Name
 * @property {string} path
 * @property {string} title
 * @property {string} [folded] the title as `fold` makes it, once a filter asked for it
 */

/** @typedef {Name & { type: string, timestamp: number | null }} Row */

/** The roles of a name, in the order of its values. */
export const nameRoles = ['path', 'title'];

/**
 * What the rows of a path are made of. The first roles are those of a name; where a row cannot be had, there are no others.
 * @template {Name} Kind
 * @typedef {{ roles: string[], toRow: (values: any[]) => Kind }} RowKind
 */

/** Rows of a folder. @type {RowKind<Row>} */
export const folderRows = {
    roles: [...nameRoles, 'type', 'timestamp'],
    toRow: ([path, title, type, timestamp]) => ({ path, title: title ?? '', type: type ?? '', timestamp: timestamp ?? null }),
};

/**
 * One version of a directory's rows, as far as they have arrived; of some only the names. Rows of two versions never share
 * a listing.
 * @template {Name} [Kind=Row]
 */
export class Listing {
    #toRow;
    /** @type {Kind[]} with holes */
    #rows = [];
    /** @type {Name[]} with holes; those of the rows are among them */
    #names = [];
    #named = 0;
    /** @type {Map<string, number>} */
    #indices = new Map();
    /** @type {{ positions: number[], indices: Map<string, number> } | null} where the rows are that pass */
    #filtered = null;

    /**
     * @param {number} version
     * @param {number} total number of all rows
     * @param {(values: any[]) => Kind} toRow
     */
    constructor(version, total, toRow) {
        this.version = version;
        this.total = total;
        this.#toRow = toRow;
    }

    /** Number of rows that pass the filter. */
    get count() {
        return this.#filtered ? this.#filtered.positions.length : this.total;
    }

    get isFiltered() {
        return this.#filtered !== null;
    }

    /** Whether the name of every row is known. */
    get complete() {
        return this.#named >= this.total;
    }

    /**
     * @param {number} index among those that pass the filter
     * @returns {Kind | undefined} undefined if the row has not arrived
     */
    at(index) {
        return this.#rows[this.#position(index)];
    }

    /**
     * @param {number} index among those that pass the filter
     * @returns {Name | undefined} undefined if the name has not arrived
     */
    nameAt(index) {
        return this.#names[this.#position(index)];
    }

    /**
     * @param {string} path
     * @returns {number | undefined} undefined if no row that is known and passes the filter has the path
     */
    indexOf(path) {
        return (this.#filtered?.indices ?? this.#indices).get(path);
    }

    /**
     * @param {number} first
     * @param {any[][]} values of all roles
     */
    add(first, values) {
        values.forEach((value, offset) => {
            this.#rows[first + offset] = this.#toRow(value);
            this.#putName(first + offset, this.#rows[first + offset]);
        });
    }

    /**
     * @param {number} first
     * @param {any[][]} values
     */
    addNames(first, values) {
        values.forEach(([path, title], offset) => this.#putName(first + offset, { path, title: title ?? '' }));
    }

    /**
     * Completes a name that is known.
     * @param {string} path
     * @param {any[]} values of all roles
     */
    addRow(path, values) {
        const position = this.#indices.get(path);
        if (position !== undefined) this.#rows[position] = this.#toRow(values);
    }

    /**
     * The first gap between two indices of all rows.
     * @param {number} first
     * @param {number} last
     * @returns {number} -1 without a gap
     */
    gap(first, last) {
        return firstGap(this.#rows, first, Math.min(last, this.total - 1));
    }

    /**
     * The first row whose name is not known.
     * @param {number} first where the search begins
     * @returns {number} -1 if there is none
     */
    nameGap(first) {
        return firstGap(this.#names, first, this.total - 1);
    }

    /**
     * Shows only the rows that match; all names have to be known.
     * @param {((name: Name) => boolean) | null} matches null shows all rows
     */
    filter(matches) {
        this.#filtered = null;
        if (!matches) return;
        /** @type {number[]} */
        const positions = [];
        this.#names.forEach((name, position) => matches(name) && positions.push(position));
        this.#filtered = { positions, indices: new Map(positions.map((position, index) => [this.#names[position].path, index])) };
    }

    /** @param {number} index among those that pass the filter */
    #position(index) {
        return this.#filtered ? this.#filtered.positions[index] : index;
    }

    /**
     * @param {number} position
     * @param {Name} name
     */
    #putName(position, name) {
        if (this.#names[position]) return;
        this.#names[position] = name;
        this.#indices.set(name.path, position);
        ++this.#named;
    }
}

/**
 * @param {unknown[]} list
 * @param {number} first
 * @param {number} last
 */
function firstGap(list, first, last) {
    for (let index = Math.max(0, first); index <= last; ++index) if (!list[index]) return index;
    return -1;
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
 * @returns {((name: Name) => boolean) | null} null if the text has no words
 */
export function wordsMatcher(text) {
    const words = fold(text).split(/\s+/).filter(Boolean);
    if (words.length === 0) return null;
    return (name) => {
        const title = (name.folded ??= fold(name.title));
        return words.every((word) => title.includes(word));
    };
}

/**
 * Which entries of a list are selected and which one has the focus, by path or id, so that both survive changes.
 * @template Key
 */
export class Selection {
    /** @type {Set<Key>} */
    #keys = new Set();

    /** @type {Key | null} */
    focus = null;
    /** @type {Key | null} where a range begins */
    anchor = null;

    get size() {
        return this.#keys.size;
    }

    get keys() {
        return [...this.#keys];
    }

    /** @param {Key} key */
    has(key) {
        return this.#keys.has(key);
    }

    /** @param {Key} key */
    only(key) {
        this.#keys = new Set([key]);
        this.focus = this.anchor = key;
    }

    /** @param {Key} key */
    toggle(key) {
        if (!this.#keys.delete(key)) this.#keys.add(key);
        this.focus = this.anchor = key;
    }

    /**
     * Selects a range and nothing else; its anchor stays.
     * @param {Key[]} keys
     * @param {Key} focus
     */
    range(keys, focus) {
        this.#keys = new Set(keys);
        this.focus = focus;
    }

    /** Deselects what is gone. @param {(key: Key) => boolean} isThere */
    keep(isThere) {
        this.#keys = new Set(this.keys.filter(isThere));
    }

    /** Deselects everything; the focus stays. */
    clear() {
        this.#keys.clear();
    }

    /** What an action on an entry concerns: the whole selection if the entry belongs to it. @param {Key} key */
    concernedBy(key) {
        return this.has(key) ? this.keys : [key];
    }
}

/** Which entries of a folder are selected and which one has the focus, by path, so that both survive changes. */
export class Selection {
    /** @type {Set<string>} */
    #paths = new Set();

    /** @type {string | null} */
    focus = null;
    /** @type {string | null} where a range begins */
    anchor = null;

    get size() {
        return this.#paths.size;
    }

    get paths() {
        return [...this.#paths];
    }

    /** @param {string} path */
    has(path) {
        return this.#paths.has(path);
    }

    /** @param {string} path */
    only(path) {
        this.#paths = new Set([path]);
        this.focus = this.anchor = path;
    }

    /** @param {string} path */
    toggle(path) {
        if (!this.#paths.delete(path)) this.#paths.add(path);
        this.focus = this.anchor = path;
    }

    /**
     * Selects a range and nothing else; its anchor stays.
     * @param {string[]} paths
     * @param {string} focus
     */
    range(paths, focus) {
        this.#paths = new Set(paths);
        this.focus = focus;
    }

    /** Deselects everything; the focus stays. */
    clear() {
        this.#paths.clear();
    }

    /** What an action on an entry concerns: the whole selection if the entry belongs to it. @param {string} path */
    concernedBy(path) {
        return this.has(path) ? this.paths : [path];
    }
}

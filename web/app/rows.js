import { Listing, folderRows, nameRoles, wordsMatcher } from './listing.js';
import { parent, top } from './paths.js';
import { SessionError, isBusy, isTooLarge } from './session.js';

/** @typedef {import('./listing.js').Name} Name */
/** @typedef {import('./listing.js').Row} Row */
/** @typedef {import('./session.js').Session} Session */
/** @typedef {import('./session.js').Change} Change */

/** @typedef {'loading' | 'ready' | 'unreadable' | 'gone'} RowsState */

/** A new version has replaced the rows: what was at the eye has moved down by `moved` rows. */
export class RowsChange extends Event {
    /**
     * @param {number} moved
     * @param {Set<string>} fresh paths of the rows in view that are new
     */
    constructor(moved, fresh) {
        super('change');
        this.moved = moved;
        this.fresh = fresh;
    }
}

const pageSize = 200;
/** So many rows on both sides of those in view are fetched, too; few where each is asked for alone. */
const margin = 100;
const marginOfMatches = 10;
const requestsAtATime = 2;
/** The most values that a host with the usual limits answers at a time; others answer with fewer. */
const valuesAtATime = 100000;
const busyDelay = 1000;

/**
 * The rows of one directory, live. Fetches those in view and around it, all of one version; a change replaces them at
 * once when the new ones in view are here.
 *
 * Events: `state`; `rows` when more rows have arrived; `change` (a RowsChange) when a new version or another filter has
 * replaced them.
 * @template {Name} [Kind=Row]
 */
export class Rows extends EventTarget {
    #session;
    #stopped = new AbortController();
    /** @type {RowsState} */
    #state = 'loading';
    #kind;
    #listing;
    #filter = '';
    /** Rows in view; `eye` is the one that stays where it is, -1 at the head of the list. */
    #view = { first: 0, last: 0, eye: -1 };
    /** @type {Set<number>} first indices of the pages under way */
    #fetching = new Set();
    #fetchingMatches = false;
    /** @type {Promise<void> | null} */
    #refreshing = null;
    #stale = false;
    /** @type {string | null} the ancestor whose changes may bring the directory back */
    #watched = null;

    /** @type {Error | null} why the rows cannot be read */
    error = null;

    /**
     * @param {Session} session
     * @param {string} path
     * @param {import('./listing.js').RowKind<Kind>} [kind]
     */
    constructor(session, path, kind = /** @type {any} */ (folderRows)) {
        super();
        this.#session = session;
        this.#kind = kind;
        this.#listing = this.#newListing(0, 0);
        this.path = path;
    }

    get state() {
        return this.#state;
    }

    /** Number of rows that pass the filter. */
    get count() {
        return this.#listing.count;
    }

    /** Number of all rows. */
    get total() {
        return this.#listing.total;
    }

    /** Whether the name of every row is known. */
    get complete() {
        return this.#listing.complete;
    }

    get version() {
        return this.#listing.version;
    }

    get filter() {
        return this.#filter;
    }

    /**
     * @param {number} index
     * @returns {Kind | undefined} undefined as long as the row has not arrived
     */
    at(index) {
        return this.#listing.at(index);
    }

    /**
     * @param {number} index
     * @returns {Name | undefined} undefined as long as it is not known
     */
    nameAt(index) {
        return this.#listing.nameAt(index);
    }

    /**
     * @param {string} path
     * @returns {number | undefined} undefined if the row is not known or does not exist
     */
    indexOf(path) {
        return this.#listing.indexOf(path);
    }

    /** Opens the directory and fetches the first rows. */
    async start() {
        try {
            await onceNotBusy(() => this.#session.open(this.path, this.#heard));
            if (this.#stopped.signal.aborted) return this.#session.close(this.path, this.#heard);
            await this.#refresh();
        } catch (error) {
            this.#fail(/** @type {Error} */ (error));
        }
    }

    /** Ends all of it. */
    stop() {
        this.#stopped.abort();
        this.#session.close(this.path, this.#heard);
        this.#unwatch();
    }

    /**
     * Says which rows are in view; they are fetched, with some around them.
     * @param {number} first
     * @param {number} last
     * @param {number} [eye] the row that stays where it is when rows above it come or go; -1: none
     */
    show(first, last, eye = -1) {
        this.#view = { first, last, eye };
        this.#fetchView();
    }

    /**
     * Shows only rows whose titles have all words of a text. Fetches all names for it.
     * @param {string} text
     */
    async setFilter(text) {
        this.#filter = text;
        if (wordsMatcher(text)) await this.all();
        if (this.#filter !== text || this.#stopped.signal.aborted) return;
        this.#listing.filter(wordsMatcher(text));
        this.dispatchEvent(new RowsChange(0, new Set()));
    }

    /** Fetches the name of every row of the current version. */
    async all() {
        while (!this.#listing.complete && !this.#stopped.signal.aborted) {
            const listing = this.#listing;
            if (await this.#complete(listing)) break;
            await this.#refresh();
        }
    }

    /**
     * The index of a path, wherever it is among the rows that pass the filter.
     * @param {string} path
     * @returns {Promise<number | undefined>}
     */
    async find(path) {
        const known = this.#listing.indexOf(path);
        if (known !== undefined || this.#listing.complete) return known;
        try {
            return (await this.#search(this.#listing, [path]))?.index;
        } catch (error) {
            if (!isOutdated(error)) throw error;
            await this.#refresh();
            return this.find(path);
        }
    }

    /** @type {(change: Change) => void} */
    #heard = (change) => {
        if (change.changes.includes('close')) this.#fail(null);
        else this.#refresh().catch((error) => this.#fail(error));
    };

    /** Replaces the rows with those of the current version; again if they change meanwhile. */
    #refresh() {
        this.#stale = true;
        this.#refreshing ??= this.#refreshUntilCurrent().finally(() => (this.#refreshing = null));
        return this.#refreshing;
    }

    async #refreshUntilCurrent() {
        while (this.#stale && !this.#stopped.signal.aborted) {
            this.#stale = false;
            const next = await onceNotBusy(() => this.#load());
            if (next) this.#replace(next.listing, next.moved);
            else this.#stale = true;
        }
    }

    /**
     * A listing of the current version with the rows that will be in view.
     * @returns {Promise<{ listing: Listing<Kind>, moved: number } | null>} null if it changed meanwhile
     */
    async #load() {
        const { first, last } = this.#view;
        const from = pageOf(Math.max(0, first - margin));
        const answer = await this.#ask({ first: from, last: pageOf(last + margin) + pageSize - 1 });
        const listing = this.#newListing(answer.version ?? 0, answer.count);
        listing.add(from, answer.rows);
        const matcher = wordsMatcher(this.#filter);
        if (matcher && !(await this.#complete(listing))) return null;
        listing.filter(matcher);
        try {
            const moved = await this.#movement(listing);
            const inView = this.#inView(listing, moved);
            await this.#fill(listing, inView.first, inView.last);
            return { listing, moved };
        } catch (error) {
            if (isOutdated(error)) return null;
            throw error;
        }
    }

    /**
     * How far the row at the eye has moved, or the first one below it that is still there.
     * @param {Listing<Kind>} listing the new one
     */
    async #movement(listing) {
        const { eye } = this.#view;
        if (eye < 0) return 0;
        const paths = this.#pathsFrom(eye);
        if (paths.length === 0) return 0;
        const found = await this.#search(listing, paths);
        return found ? found.index - /** @type {number} */ (this.#listing.indexOf(found.path)) : 0;
    }

    /**
     * The paths of the rows in view, those from the eye downwards first.
     * @param {number} eye
     */
    #pathsFrom(eye) {
        const { first, last } = this.#view;
        const paths = [];
        for (let index = eye; index <= last; ++index) paths.push(this.#listing.nameAt(index)?.path);
        for (let index = eye - 1; index >= first; --index) paths.push(this.#listing.nameAt(index)?.path);
        return /** @type {string[]} */ (paths.filter((path) => path !== undefined));
    }

    /**
     * The first of some paths that a listing has. What has not arrived is looked up in the list of all paths.
     * @param {Listing<Kind>} listing
     * @param {string[]} paths
     */
    async #search(listing, paths) {
        if (listing.complete || listing.indexOf(paths[0]) !== undefined) return firstKnown(paths, (path) => listing.indexOf(path));
        const indices = await this.#allPaths(listing);
        return firstKnown(paths, (path) => indices.get(path));
    }

    /** @param {Listing<Kind>} listing */
    async #allPaths(listing) {
        /** @type {Map<string, number>} */
        const indices = new Map();
        while (indices.size < listing.total) {
            const answer = await this.#ask({ first: indices.size, last: listing.total - 1, version: listing.version, roles: ['path'] });
            if (answer.rows.length === 0) break;
            for (const [path] of answer.rows) indices.set(path, indices.size);
        }
        return indices;
    }

    /**
     * @param {Listing<Kind>} listing
     * @param {number} moved
     */
    #replace(listing, moved) {
        const before = this.#listing;
        const known = before.total > 0 || this.#state === 'ready';
        this.#listing = listing;
        this.#view = this.#inView(listing, moved);
        const fresh = known ? this.#fresh(before) : new Set();
        this.#unwatch();
        this.error = null;
        this.#enter('ready');
        this.dispatchEvent(new RowsChange(moved, /** @type {Set<string>} */ (fresh)));
        this.#fetchView();
    }

    /**
     * @param {Listing<Kind>} listing
     * @param {number} moved
     */
    #inView(listing, moved) {
        const { first, last, eye } = this.#view;
        const height = last - first;
        const newFirst = Math.max(0, Math.min(first + moved, listing.count - 1 - height));
        return { first: newFirst, last: newFirst + height, eye: eye < 0 ? -1 : eye + moved };
    }

    /** @param {Listing<Kind>} before */
    #fresh(before) {
        const fresh = new Set();
        for (let index = this.#view.first; index <= this.#view.last; ++index) {
            const path = this.#listing.nameAt(index)?.path;
            if (path !== undefined && before.indexOf(path) === undefined) fresh.add(path);
        }
        return fresh;
    }

    /** Fetches the pages in view that are missing, the ones that came into view last. */
    #fetchView() {
        if (this.#listing.isFiltered) return void this.#fetchMatches();
        if (this.#fetching.size >= requestsAtATime) return;
        const page = this.#nextPage();
        if (page === undefined) return;
        void this.#fetchPage(this.#listing, page);
        this.#fetchView();
    }

    #nextPage() {
        const { first, last } = this.#view;
        for (const [from, to] of [[first, last], [first - margin, last + margin]]) {
            for (let gap = this.#listing.gap(from, to); gap >= 0; gap = this.#listing.gap(pageOf(gap) + pageSize, to)) {
                if (!this.#fetching.has(pageOf(gap))) return pageOf(gap);
            }
        }
        return undefined;
    }

    /**
     * @param {Listing<Kind>} listing
     * @param {number} page
     */
    async #fetchPage(listing, page) {
        this.#fetching.add(page);
        try {
            await this.#fetch(listing, page, page + pageSize - 1);
        } catch (error) {
            if (isOutdated(error)) this.#refresh().catch((failure) => this.#fail(failure));
            else if (!this.#stopped.signal.aborted) await pause();
        }
        this.#fetching.delete(page);
        if (this.#stopped.signal.aborted) return;
        if (listing === this.#listing) this.dispatchEvent(new Event('rows'));
        this.#fetchView();
    }

    /** Fetches the rows in view that pass the filter, and some around them. */
    async #fetchMatches() {
        const listing = this.#listing;
        const first = Math.max(0, this.#view.first - marginOfMatches);
        const last = this.#view.last + marginOfMatches;
        if (this.#fetchingMatches || missing(listing, first, last).length === 0) return;
        this.#fetchingMatches = true;
        try {
            await this.#fillMatches(listing, first, last);
        } catch {
            if (!this.#stopped.signal.aborted) await pause();
        }
        this.#fetchingMatches = false;
        if (this.#stopped.signal.aborted) return;
        if (listing === this.#listing) this.dispatchEvent(new Event('rows'));
        this.#fetchView();
    }

    /**
     * Fetches every name of a listing that is missing: each request costs the host a listing of its own. If one answer has
     * room for whole rows, these are fetched.
     * @param {Listing<Kind>} listing
     * @returns {Promise<boolean>} false if there is a newer version
     */
    async #complete(listing) {
        const { roles } = this.#kind;
        const wanted = listing.total * roles.length <= valuesAtATime ? roles : nameRoles;
        const size = Math.floor(valuesAtATime / wanted.length);
        try {
            for (let gap = listing.nameGap(0); gap >= 0; gap = listing.nameGap(gap)) {
                const requests = [];
                for (let from = gap; from < listing.total; from += size) {
                    requests.push(this.#fetch(listing, from, Math.min(listing.total, from + size) - 1, wanted));
                }
                if ((await Promise.all(requests))[0] === 0) break;
            }
            return true;
        } catch (error) {
            if (isOutdated(error)) return false;
            throw error;
        }
    }

    /**
     * Fetches the rows between two indices that are missing.
     * @param {Listing<Kind>} listing
     * @param {number} first
     * @param {number} last
     */
    async #fill(listing, first, last) {
        if (listing.isFiltered) return this.#fillMatches(listing, first, last);
        for (let gap = listing.gap(first, last); gap >= 0; gap = listing.gap(gap, last)) {
            if ((await this.#fetch(listing, gap, last)) === 0) break;
        }
    }

    /**
     * The same for rows that pass a filter, which are far from each other: each is asked for alone, without a listing.
     * @param {Listing<Kind>} listing
     * @param {number} first
     * @param {number} last
     */
    async #fillMatches(listing, first, last) {
        await Promise.all(missing(listing, first, last).map((name) => this.#fetchRow(listing, name)));
    }

    /**
     * @param {Listing<Kind>} listing
     * @param {Name} name
     */
    async #fetchRow(listing, { path, title }) {
        try {
            listing.addRow(path, await onceNotBusy(() => this.#session.data(path, this.#kind.roles)));
        } catch (error) {
            // A file that was just removed; the host will report it.
            if (!(error instanceof SessionError)) throw error;
            listing.addRow(path, [path, title]);
        }
    }

    /**
     * @param {Listing<Kind>} listing
     * @param {number} first
     * @param {number} last
     * @param {string[]} [wanted] the roles of rows or of names
     * @returns {Promise<number>} how many have come
     */
    async #fetch(listing, first, last, wanted = this.#kind.roles) {
        const answer = await this.#ask({ first, last, version: listing.version, roles: wanted });
        if (wanted === nameRoles) listing.addNames(first, answer.rows);
        else listing.add(first, answer.rows);
        return answer.rows.length;
    }

    /**
     * @param {number} version
     * @param {number} total
     */
    #newListing(version, total) {
        return new Listing(version, total, this.#kind.toRow);
    }

    /**
     * Asks for rows, or for the first half of them if they are too much text for one answer.
     * @param {{ first: number, last: number, version?: number, roles?: string[] }} range
     * @returns {Promise<import('./session.js').RowsAnswer>}
     */
    async #ask(range) {
        const { first, last } = range;
        try {
            return await this.#session.rows(this.path, { roles: this.#kind.roles, ...range }, this.#stopped.signal);
        } catch (error) {
            if (!isTooLarge(error) || last === first) throw error;
            return this.#ask({ ...range, last: Math.floor((first + last) / 2) });
        }
    }

    /** @param {Error | null} error null: the directory is gone */
    #fail(error) {
        if (this.#stopped.signal.aborted) return;
        // That a directory which is gone cannot be opened is no news.
        const gone = error === null || this.#state === 'gone';
        this.error = gone ? null : error;
        this.#session.close(this.path, this.#heard);
        this.#listing = this.#newListing(0, 0);
        this.#enter(gone ? 'gone' : 'unreadable');
        if (this.#watched === null) void this.#watch(parent(this.path));
    }

    /**
     * Waits for changes of the nearest ancestor that can be opened: one of them may bring the directory back.
     * @param {string} ancestor
     */
    async #watch(ancestor) {
        if (this.path === top) return;
        this.#watched = ancestor;
        try {
            await this.#session.open(ancestor, this.#ancestorChanged);
        } catch {
            if (ancestor !== top && !this.#stopped.signal.aborted) await this.#watch(parent(ancestor));
            return;
        }
        if (this.#stopped.signal.aborted) this.#unwatch();
        else await this.start();
    }

    /** @type {(change: Change) => void} */
    #ancestorChanged = (change) => {
        if (change.changes.includes('close')) void this.#watch(parent(change.path));
        else void this.start();
    };

    #unwatch() {
        if (this.#watched !== null) this.#session.close(this.#watched, this.#ancestorChanged);
        this.#watched = null;
    }

    /** @param {RowsState} state */
    #enter(state) {
        this.#state = state;
        this.dispatchEvent(new Event('state'));
    }
}

/** @param {number} index */
function pageOf(index) {
    return index - (index % pageSize);
}

/**
 * The names between two indices whose rows have not arrived.
 * @param {Listing<any>} listing
 * @param {number} first
 * @param {number} last
 */
function missing(listing, first, last) {
    const names = [];
    for (let index = first; index <= Math.min(last, listing.count - 1); ++index) {
        const name = listing.nameAt(index);
        if (name && !listing.at(index)) names.push(name);
    }
    return names;
}

/**
 * @param {string[]} paths
 * @param {(path: string) => number | undefined} indexOf
 */
function firstKnown(paths, indexOf) {
    for (const path of paths) {
        const index = indexOf(path);
        if (index !== undefined) return { path, index };
    }
    return null;
}

/**
 * Tries again as long as the server is busy.
 * @template Result
 * @param {() => Promise<Result>} act
 */
async function onceNotBusy(act) {
    for (;;) {
        try {
            return await act();
        } catch (error) {
            if (!isBusy(error)) throw error;
            await pause();
        }
    }
}

function pause() {
    return new Promise((resolve) => setTimeout(resolve, busyDelay));
}

/** @param {any} error */
function isOutdated(error) {
    return error?.data?.name === 'invalidRowsVersion';
}

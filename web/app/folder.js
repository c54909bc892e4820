import { Actions, report } from './actions.js';
import { element, setAttribute, setText } from './dom.js';
import { listenToKeys, listenToPointer } from './folderinput.js';
import { FolderTags } from './foldertags.js';
import { Hero } from './hero.js';
import { icon, iconButton } from './icons.js';
import { showKeys } from './keys.js';
import { isolated, text } from './language.js';
import { button, emptyNotice, failureNotice, loadingNotice, noHitNotice, noRootsNotice } from './notices.js';
import { parent, queuePath, top } from './paths.js';
import { addressOf, currentPath, go, isQueueOpen, replacePlace } from './place.js';
import { Roots } from './roots.js';
import { RowList } from './rowlist.js';
import { Rows } from './rows.js';
import { RowView, shownTitle } from './rowview.js';
import { Selection } from './selection.js';
import { Thumb } from './thumb.js';
import { TypeAhead } from './typeahead.js';

/** @typedef {import('./listing.js').Row} Row */
/** @typedef {import('./player.js').Player} Player */
/** @typedef {import('./queue.js').Queue} Queue */
/** @typedef {import('./rows.js').RowsChange} RowsChange */
/** @typedef {import('./session.js').Session} Session */

const skeletonDelay = 200;
const freshFor = 1500;
const mostSummarised = 200;
const rowsAhead = 10;

/** The folder in the address: crumbs, filter, head, and the live list of its entries. Emits `queue` to show the queue. */
export class TavoFolder extends HTMLElement {
    #session;
    #player;
    #roots;
    #tags;
    #actions;
    #rows;
    #firstRows;
    /** @type {Selection<string>} */
    #selection = new Selection();
    #typeAhead = new TypeAhead();
    #focusIndex = 0;
    #playing = '';
    /** @type {Set<string>} */
    #fresh = new Set();
    #selectingByTouch = false;
    /** @type {Map<string, { scrollTop: number, focus: string | null }>} where each folder was left */
    #left = new Map();

    #crumbs = element('ol');
    #filter = element('input', { type: 'search', id: 'filter', autocomplete: 'off', spellcheck: 'false' });
    #grid = element('div', { class: 'rows', role: 'grid', tabindex: 0, 'aria-multiselectable': 'true' });
    #notice = element('div', { class: 'notice' });
    #announcer = element('div', { class: 'unseen', role: 'status' });
    #selected = element('div', { class: 'selected', hidden: true });
    #hero = new Hero({
        play: () => this.#actions.play([this.#rows.path]),
        add: () => this.#actions.add([this.#rows.path]),
    });
    #scroller = element('div', { class: 'scroller' }, this.#hero.element, this.#notice, this.#grid);
    #list = new RowList(this.#scroller, this.#grid, () => new RowView(), (index) => this.#stateOf(index));
    #thumb = new Thumb(this.#scroller, () => this.#nameAtEye());

    /**
     * @param {Session} session
     * @param {Queue} queue
     * @param {Player} player
     * @param {Rows | null} firstRows those of the folder in the address, started already; null if it names none
     */
    constructor(session, queue, player, firstRows) {
        super();
        this.#firstRows = firstRows;
        this.#session = session;
        this.#player = player;
        this.#roots = new Roots(session);
        this.#tags = new FolderTags(session);
        this.#actions = new Actions(session, queue, player);
        // No folder is open yet.
        this.#rows = new Rows(session, '');
    }

    connectedCallback() {
        this.append(this.#header(), this.#body());
        this.#list.onShow = (first, last, eye) => this.#shown(first, last, eye);
        this.#tags.addEventListener('tags', () => this.#drawTags());
        listenToKeys(this.#grid, this.#commands());
        listenToPointer(this.#grid, this.#commands());
        document.addEventListener('keydown', (event) => this.#pageKey(event));
        addEventListener('hashchange', () => this.#openPlace());
        this.#player.addEventListener('player', () => this.#markPlaying());
        void this.#openFirst();
    }

    #header() {
        this.#filter.addEventListener('input', () => void this.#applyFilter());
        this.#filter.addEventListener('keydown', (event) => this.#filterKey(event));
        const label = element('label', { class: 'filter', for: 'filter' }, icon('search'));
        label.append(element('span', { class: 'unseen' }, text('filterFolder')), this.#filter, element('kbd', {}, '/'));
        setAttribute(this.#filter, 'placeholder', text('filterFolder'));
        const nav = element('nav', { 'aria-label': text('path') }, this.#crumbs);
        const keys = iconButton('keyboard', text('keysHint'), showKeys, 'round hint');
        return element('header', {}, element('span', { class: 'brand' }, 'tavo'), nav, label, keys);
    }

    #body() {
        return element('div', { class: 'folder' }, this.#scroller, this.#thumb.element, this.#selected, this.#announcer);
    }

    // Opening

    /** A host with one tree shows it at once. */
    async #openFirst() {
        if (location.hash === '') {
            const files = await this.#roots.files().catch(() => []);
            if (files.length === 1 && location.hash === '') replacePlace(`${files[0].prefix}/`);
        }
        this.#openPlace();
    }

    #openPlace() {
        const path = currentPath();
        // Beside the queue the folder stays open.
        if (this.#rows.path === path || (isQueueOpen() && this.#rows.path !== '')) return;
        const cameFrom = this.#rows.path;
        if (cameFrom !== '') this.#leaveFolder(cameFrom);
        this.#selection = new Selection();
        this.#selection.focus = this.#left.get(path)?.focus ?? childOnTheWay(path, cameFrom);
        this.#focusIndex = 0;
        this.#selectingByTouch = false;
        this.#filter.value = '';
        this.#drawSelected();
        void this.#drawName(path);
        this.#follow(this.#rowsOf(path));
    }

    /**
     * The rows of a folder, started.
     * @param {string} path
     */
    #rowsOf(path) {
        const begun = this.#firstRows;
        this.#firstRows = null;
        if (begun?.path === path) return begun;
        begun?.stop();
        const rows = new Rows(this.#session, path);
        void rows.start();
        return rows;
    }

    /** @param {string} path */
    #leaveFolder(path) {
        this.#left.set(path, { scrollTop: this.#scroller.scrollTop, focus: this.#selection.focus });
        this.#rows.stop();
    }

    /** @param {Rows} rows */
    #follow(rows) {
        this.#rows = rows;
        let first = true;
        const current = (/** @type {(event: Event) => void} */ act) => (/** @type {Event} */ event) => {
            if (this.#rows === rows) act(event);
        };
        rows.addEventListener('state', current(() => this.#drawNotice()));
        rows.addEventListener('rows', current(() => this.#list.redraw()));
        rows.addEventListener('change', current((event) => {
            if (first) this.#enterFolder();
            else this.#change(/** @type {RowsChange} */ (event));
            first = false;
        }));
        if (rows.state === 'loading') {
            const slow = setTimeout(current(() => this.#drawNotice()), skeletonDelay);
            rows.addEventListener('state', () => clearTimeout(slow), { once: true });
        } else if (rows.state === 'ready') {
            first = false;
            this.#enterFolder();
        } else {
            this.#drawNotice();
        }
    }

    /** The first rows of a folder are here. */
    #enterFolder() {
        this.#fresh.clear();
        this.#list.count = this.#rows.count;
        this.#scroller.scrollTop = this.#left.get(this.#rows.path)?.scrollTop ?? 0;
        this.#drawNotice();
        this.#list.draw();
        void this.#revealFocus();
        if (document.activeElement === document.body) this.#grid.focus({ preventScroll: true });
        this.#announce(text('rowsShown', { count: this.#rows.count }));
    }

    async #revealFocus() {
        const { focus } = this.#selection;
        if (focus === null || this.#left.has(this.#rows.path)) return;
        const index = await this.#rows.find(focus).catch(() => undefined);
        if (index === undefined || this.#selection.focus !== focus) return;
        this.#focusIndex = index;
        this.#list.reveal(index);
        this.#list.draw();
    }

    /** @param {string} path */
    async #drawName(path) {
        const line = await this.#roots.line(path, text('folders')).catch(() => null);
        if (!line || this.#rows.path !== path) return;
        const { name } = line[line.length - 1];
        document.title = `${name} · tavo`;
        setAttribute(this.#grid, 'aria-label', name);
        this.#crumbs.replaceChildren(...line.map(crumb));
        this.#hero.show(path, name);
        this.#summarise();
    }

    // Changes

    /** @param {RowsChange} change */
    #change(change) {
        this.#fresh = change.fresh;
        if (change.fresh.size > 0) setTimeout(() => this.#fresh.clear(), freshFor);
        this.#list.count = this.#rows.count;
        if (change.moved !== 0) this.#list.moveBy(change.moved);
        this.#focusIndex = Math.max(0, this.#focusIndex + change.moved);
        this.#forgetGone();
        this.#drawNotice();
        this.#list.draw();
        this.#announce(text('rowsShown', { count: this.#rows.count }));
    }

    /** The focus of an entry that is gone passes to the one in its place; no such entry stays selected. */
    #forgetGone() {
        const isGone = (/** @type {string} */ path) => this.#rows.complete && this.#rows.indexOf(path) === undefined;
        const { focus } = this.#selection;
        if (focus !== null && isGone(focus)) {
            const index = Math.min(this.#focusIndex, this.#rows.count - 1);
            this.#selection.focus = this.#rows.nameAt(index)?.path ?? null;
        }
        if (this.#rows.filter === '') this.#selection.keep((path) => !isGone(path));
        this.#drawSelected();
    }

    #drawTags() {
        this.#list.redraw();
        this.#summarise();
    }

    #markPlaying() {
        const playing = this.#player.current?.source ?? '';
        if (playing === this.#playing) return;
        this.#playing = playing;
        this.#list.redraw();
    }

    /**
     * @param {number} first
     * @param {number} last
     * @param {number} eye
     */
    #shown(first, last, eye) {
        if (this.#rows.state !== 'ready') return;
        this.#rows.show(first, last, eye);
        this.#tags.want([...this.#known(first, last), ...this.#known(last + 1, last + rowsAhead)]);
        this.#thumb.update();
        this.#drawActive();
        this.#summarise();
    }

    #drawActive() {
        const { focus } = this.#selection;
        const index = focus === null ? undefined : this.#rows.indexOf(focus);
        if (index !== undefined) this.#focusIndex = index;
        const drawn = index !== undefined && this.#list.elementOf(index);
        setAttribute(this.#grid, 'aria-activedescendant', drawn ? drawn.id : null);
    }

    /** @param {number} index */
    #stateOf(index) {
        const row = this.#rows.at(index);
        return {
            row,
            tags: row && this.#tags.of(row),
            selected: row !== undefined && this.#selection.has(row.path),
            focused: row !== undefined && this.#selection.focus === row.path,
            playing: row !== undefined && row.path === this.#playing,
            fresh: row !== undefined && this.#fresh.has(row.path),
        };
    }

    #summarise() {
        if (this.#rows.state !== 'ready' || this.#rows.filter !== '' || this.#lacksRoots()) return;
        const known = this.#known(0, mostSummarised - 1);
        this.#hero.summarise(this.#rows.total, known, (row) => this.#tags.of(row));
    }

    /**
     * The rows of a range that have arrived.
     * @param {number} first
     * @param {number} last
     */
    #known(first, last) {
        const rows = [];
        for (let index = first; index <= Math.min(last, this.#rows.count - 1); ++index) {
            const row = this.#rows.at(index);
            if (row) rows.push(row);
        }
        return rows;
    }

    /**
     * @param {number} first
     * @param {number} last
     */
    #pathsBetween(first, last) {
        const paths = [];
        for (let index = first; index <= last; ++index) paths.push(this.#rows.nameAt(index)?.path ?? []);
        return paths.flat();
    }

    // Notices in place of rows

    #drawNotice() {
        const { state, count } = this.#rows;
        this.#grid.hidden = state !== 'ready' || count === 0 || this.#lacksRoots();
        this.#notice.replaceChildren(...this.#notices());
        setAttribute(this.#scroller, 'aria-busy', state === 'loading' ? 'true' : null);
    }

    #notices() {
        const { state, count, filter } = this.#rows;
        if (state === 'loading') return [loadingNotice()];
        if (state !== 'ready') return [this.#failure()];
        if (this.#lacksRoots()) return [noRootsNotice()];
        if (count > 0) return [];
        return [filter === '' ? emptyNotice() : noHitNotice(filter, () => this.#clearFilter())];
    }

    /** Whether the queue is all that the host serves. */
    #lacksRoots() {
        const { path, state, total } = this.#rows;
        return path === top && state === 'ready' && (total === 0 || (total === 1 && this.#rows.nameAt(0)?.path === queuePath));
    }

    #failure() {
        this.#hero.usable = false;
        const { state, error } = this.#rows;
        const title = text(state === 'gone' ? 'gone' : 'unreadable');
        const message = error?.message ?? '';
        this.#announce(`${title} ${message}`);
        return failureNotice(title, message, { goUp: () => this.#leave(), retry: () => void this.#rows.start() });
    }

    /** @param {string} message */
    #announce(message) {
        setText(this.#announcer, message);
    }

    #nameAtEye() {
        const index = Math.min(this.#rows.count - 1, this.#list.firstInView);
        const row = this.#rows.at(index);
        const values = { index: index + 1, count: this.#rows.count };
        return row ? text('position', { name: isolated(shownTitle(row, this.#tags.of(row))), ...values }) : text('index', values);
    }

    // Filter

    async #applyFilter() {
        const { value } = this.#filter;
        this.#filter.classList.add('busy');
        await this.#rows.setFilter(value).catch(report);
        this.#filter.classList.remove('busy');
        if (this.#filter.value !== value) return;
        this.#scroller.scrollTop = 0;
        this.#announce(text('rowsShown', { count: this.#rows.count }));
    }

    #clearFilter() {
        this.#filter.value = '';
        void this.#applyFilter();
        this.#grid.focus({ preventScroll: true });
    }

    /** @param {KeyboardEvent} event */
    #filterKey(event) {
        if (event.key === 'Escape') this.#clearFilter();
        else if (event.key !== 'ArrowDown' && event.key !== 'Enter') return;
        else this.#focusFirst();
        event.preventDefault();
    }

    #focusFirst() {
        this.#grid.hidden = this.#rows.count === 0;
        this.#grid.focus({ preventScroll: true });
        const row = this.#rows.at(0);
        if (row) this.#select(0);
    }

    // Commands

    /** @returns {import('./folderinput.js').FolderCommands} */
    #commands() {
        return {
            indexAt: (target) => this.#list.indexAt(target),
            select: (index) => this.#select(index),
            toggle: (index) => this.#toggle(index),
            extend: (index) => void this.#extend(index),
            selectAll: () => void this.#selectAll(),
            move: (step, extend) => void this.#move(step, extend),
            activate: (index) => void this.#activate(index),
            activateFocus: () => void this.#activate(this.#focusIndex),
            toggleFocus: () => this.#toggle(this.#focusIndex),
            leave: () => this.#leave(),
            escape: () => this.#escape(),
            typeAhead: (letter) => void this.#jump(letter),
            typing: () => this.#typeAhead.typing,
            openMenu: (index, at) => this.#openMenu(index, at),
            press: (index, at) => this.#press(index, at),
            openFocusMenu: () => this.#openFocusMenu(),
            selecting: () => this.#selectingByTouch,
        };
    }

    /** @param {KeyboardEvent} event */
    #pageKey(event) {
        const { target } = event;
        if (event.defaultPrevented || event.ctrlKey || event.metaKey || event.altKey) return;
        if (target instanceof HTMLInputElement || document.querySelector('dialog[open]')) return;
        if (event.key === '/') this.#filter.focus();
        else if (event.key === '?') showKeys();
        else if (event.key === 'Backspace' && target === document.body) this.#leave();
        else return;
        event.preventDefault();
    }

    /** @param {number} index */
    #select(index) {
        const name = this.#rows.nameAt(index);
        if (!name) return;
        this.#selection.only(name.path);
        this.#selectionChanged(index);
    }

    /** @param {number} index */
    #toggle(index) {
        const name = this.#rows.nameAt(index);
        if (!name) return;
        this.#selection.toggle(name.path);
        this.#selectionChanged(index);
    }

    /** @param {number} index */
    async #extend(index) {
        const { anchor } = this.#selection;
        const from = anchor === null ? index : ((await this.#rows.find(anchor)) ?? index);
        const [first, last] = from < index ? [from, index] : [index, from];
        if (last - first > this.#list.rowsInView) await this.#rows.all();
        const focus = this.#rows.nameAt(index)?.path;
        if (focus === undefined) return;
        this.#selection.anchor ??= focus;
        this.#selection.range(this.#pathsBetween(first, last), focus);
        this.#selectionChanged(index);
    }

    async #selectAll() {
        await this.#rows.all();
        const paths = this.#pathsBetween(0, this.#rows.count - 1);
        if (paths.length > 0) this.#selection.range(paths, this.#selection.focus ?? paths[0]);
        this.#selectionChanged(this.#focusIndex);
    }

    /** @param {number} index */
    #selectionChanged(index) {
        this.#focusIndex = index;
        this.#drawSelected();
        this.#list.reveal(index);
        this.#list.draw();
    }

    /**
     * @param {Parameters<import('./folderinput.js').FolderCommands['move']>[0]} step
     * @param {boolean} extend
     */
    async #move(step, extend) {
        const last = this.#rows.count - 1;
        const page = this.#list.rowsInView;
        const { focus } = this.#selection;
        const known = focus === null ? undefined : this.#rows.indexOf(focus);
        const at = known ?? this.#focusIndex;
        const begins = focus === null && (step === 'down' || step === 'up');
        const targets = { up: at - 1, down: at + 1, pageUp: at - page, pageDown: at + page, first: 0, last };
        const index = begins ? 0 : Math.max(0, Math.min(last, targets[step]));
        this.#list.reveal(index);
        this.#list.draw();
        if (await this.#arrived(index)) return extend ? this.#extend(index) : this.#select(index);
    }

    /**
     * Waits for a row in view.
     * @param {number} index
     */
    async #arrived(index) {
        const rows = this.#rows;
        while (!rows.at(index) && index < rows.count && rows === this.#rows) {
            await new Promise((resolve) => rows.addEventListener('rows', resolve, { once: true }));
        }
        return rows === this.#rows && rows.at(index) !== undefined;
    }

    /** @param {number} index */
    async #activate(index) {
        await this.#arrived(index);
        const row = this.#rows.at(index);
        if (!row) return;
        this.#selection.focus = row.path;
        if (row.path === queuePath) this.dispatchEvent(new Event('queue'));
        else if (row.type === 'container') go(row.path);
        else if (row.type !== 'playlist') this.#actions.play([row.path]);
    }

    #leave() {
        const { path } = this.#rows;
        if (path === top) return;
        void this.#roots.line(path, '').then((line) => {
            if (line.length > 1) go(parent(path));
        });
    }

    #escape() {
        if (this.#rows.filter !== '') return this.#clearFilter();
        this.#selection.clear();
        this.#selectionChanged(this.#focusIndex);
    }

    /** @param {string} letter */
    async #jump(letter) {
        this.#typeAhead.type(letter);
        await this.#rows.all();
        const from = this.#selection.focus === null ? -1 : this.#focusIndex;
        const index = this.#typeAhead.find(from, this.#rows.count, (at) => this.#names(at));
        if (index >= 0) this.#select(index);
    }

    /** @param {number} index */
    #names(index) {
        const name = this.#rows.nameAt(index);
        const row = this.#rows.at(index);
        if (!name) return [];
        return row ? [name.title, shownTitle(row, this.#tags.of(row))] : [name.title];
    }

    /**
     * @param {number} index
     * @param {{ x: number, y: number }} at
     */
    #openMenu(index, at) {
        const row = this.#rows.at(index);
        if (!row) return;
        if (!this.#selection.has(row.path)) this.#select(index);
        const name = shownTitle(row, this.#tags.of(row));
        void this.#actions.openMenu(row, name, this.#selection.concernedBy(row.path), at);
    }

    /**
     * @param {number} index
     * @param {{ x: number, y: number }} at
     */
    #press(index, at) {
        const row = this.#rows.at(index);
        if (!row) return;
        if (!this.#selectingByTouch) this.#selection.clear();
        this.#selectingByTouch = true;
        if (!this.#selection.has(row.path)) this.#toggle(index);
        this.#openMenu(index, at);
    }

    #openFocusMenu() {
        const box = this.#list.elementOf(this.#focusIndex)?.getBoundingClientRect();
        if (box) this.#openMenu(this.#focusIndex, { x: box.left + 48, y: box.bottom });
    }

    /** Says how many entries are selected, and offers what can be done with all of them. */
    #drawSelected() {
        const { size } = this.#selection;
        if (size === 0) this.#selectingByTouch = false;
        this.#selected.hidden = size < (this.#selectingByTouch ? 1 : 2);
        if (this.#selected.hidden) return;
        const play = button('play', () => this.#actions.play(this.#selection.keys));
        const add = button('addToQueue', () => this.#actions.add(this.#selection.keys));
        const close = iconButton('close', text('close'), () => this.#escape(), 'round');
        this.#selected.replaceChildren(element('span', {}, text('selectedCount', { count: size })), play, add, close);
    }
}

/**
 * @param {{ path: string, name: string }} folder
 * @param {number} index
 * @param {unknown[]} all
 */
function crumb({ path, name }, index, all) {
    const current = index === all.length - 1;
    const link = element('a', { href: addressOf(path), dir: 'auto', 'aria-current': current && 'page' }, name);
    return element('li', {}, link);
}

/**
 * The folder in `path` that leads to where one came from.
 * @param {string} path
 * @param {string} cameFrom empty at first
 */
function childOnTheWay(path, cameFrom) {
    for (let at = cameFrom || top; at !== top; at = parent(at)) if (parent(at) === path) return at;
    return null;
}

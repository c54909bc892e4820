/** `<tavo-queue>`: the entries of the queue, to be played, moved and removed. */

import { offerUndo, report } from './actions.js';
import { makeCover } from './cover.js';
import { element, setAttribute, setText } from './dom.js';
import { Drag } from './drag.js';
import { listenToKeys, listenToPointer } from './folderinput.js';
import { icon, iconButton } from './icons.js';
import { clock, isolated, spokenDuration, text } from './language.js';
import { openMenu } from './menu.js';
import { queuePath } from './paths.js';
import { go } from './place.js';
import { playerPath } from './player.js';
import { RowList } from './rowlist.js';
import { Selection } from './selection.js';
import { Thumb } from './thumb.js';

/** @typedef {import('./queue.js').Queue} Queue */
/** @typedef {import('./entries.js').Entry} Entry */
/** @typedef {import('./player.js').Player} Player */
/** @typedef {import('./rows.js').RowsChange} RowsChange */

/** Covers wait for the list to stand still for so many ms. */
const settledAfter = 120;

/**
 * @typedef {object} EntryState
 * @property {Entry | undefined} entry undefined as long as it has not arrived
 * @property {boolean} current
 * @property {boolean} failed it could not be played
 * @property {boolean} selected
 * @property {boolean} focused
 * @property {boolean} dragged
 * @property {boolean} settled
 */

/** One row; it shows one entry after the other as the list is scrolled. */
class EntryView {
    #cover = makeCover();
    #title = element('span', { class: 'title', dir: 'auto' });
    #artist = element('small', { dir: 'auto' });
    #time = element('div', { class: 'time', role: 'gridcell' });
    #name = element('div', { class: 'name', role: 'gridcell' }, this.#title, this.#artist);
    #remove = element('button', { type: 'button', class: 'remove', tabindex: -1 }, icon('close'));
    #grip = element('div', { class: 'grip', role: 'gridcell' }, icon('grip'));
    #lead = element('div', { role: 'gridcell' }, this.#cover.element);

    element = element('div', { class: 'row', role: 'row' }, this.#grip, this.#lead, this.#name, this.#time);
    index = -1;

    constructor() {
        this.#cover.element.append(icon('playing'));
        this.element.append(element('div', { role: 'gridcell' }, this.#remove));
    }

    /**
     * @param {number} index
     * @param {number} height of a row in pixels
     */
    place(index, height) {
        this.index = index;
        this.element.id = `queue-row-${index}`;
        this.element.style.transform = `translateY(${index * height}px)`;
        setAttribute(this.element, 'aria-rowindex', index + 1);
    }

    /** @param {EntryState} state */
    draw({ entry, current, failed, selected, focused, dragged, settled }) {
        const { title = '', artist = '', duration = 0, source = '' } = entry ?? {};
        setText(this.#title, title);
        setText(this.#artist, artist);
        setText(this.#time, duration > 0 ? clock(duration) : '');
        setAttribute(this.#name, 'title', [title, artist].filter(Boolean).join('\n'));
        setAttribute(this.#remove, 'aria-label', text('removeEntry', { title: isolated(title) }));
        setAttribute(this.#lead, 'aria-label', current ? text('playing') : failed ? text('notPlayed') : null);
        setAttribute(this.element, 'aria-selected', String(selected));
        setAttribute(this.element, 'aria-current', current && 'true');
        if (settled) this.#cover.show(source, 100);
        else this.#cover.leave(source);
        const { classList } = this.element;
        classList.toggle('pending', !entry);
        classList.toggle('now', current);
        classList.toggle('failed', failed);
        classList.toggle('focused', focused);
        classList.toggle('dragged', dragged);
    }
}

export class TavoQueue extends HTMLElement {
    #queue;
    #player;

    /** @type {Selection<number>} */
    #selection = new Selection();
    #focusIndex = 0;
    #selectingByTouch = false;
    #settled = true;
    #shownCurrent = 0;

    #summary = element('span', { class: 'muted', dir: 'auto' });
    #shuffle = iconButton('shuffle', text('shuffleQueue'), () => void this.#queue.shuffle().catch(report), 'round');
    #clear = iconButton('clear', text('clearQueue'), () => void this.#removeAll(), 'round');
    #grid = element('div', { class: 'rows', role: 'grid', tabindex: 0, 'aria-multiselectable': 'true', 'aria-label': text('queue') });
    #notice = element('div', { class: 'queue-empty' });
    #announcer = element('div', { class: 'unseen', role: 'status' });
    #scroller = element('div', { class: 'scroller' }, this.#notice, this.#grid);
    #list = new RowList(this.#scroller, this.#grid, () => new EntryView(), (index) => this.#stateOf(index));
    #thumb = new Thumb(this.#scroller, () => this.#nameAtEye());
    #drag;

    /** @param {Queue} queue @param {Player} player */
    constructor(queue, player) {
        super();
        this.#queue = queue;
        this.#player = player;
        this.#drag = new Drag(this.#scroller, this.#grid, {
            begin: (target) => this.#beginDrag(target),
            drop: (ids, gap) => void this.#drop(ids, gap),
            redraw: () => this.#list.redraw(),
            rowHeight: () => this.#list.rowHeight,
            count: () => this.#list.count,
        });
    }

    connectedCallback() {
        setAttribute(this, 'role', 'region');
        setAttribute(this, 'aria-label', text('queue'));
        const head = element('h2', {}, text('queue'));
        this.append(element('div', { class: 'queue-head' }, head, this.#summary, this.#shuffle, this.#clear));
        this.append(this.#scroller, this.#thumb.element, this.#announcer);
        setAttribute(this.#grid, 'aria-description', text('queueKeys'));
        this.#listen();
        this.#drawState();
    }

    /** Gives the list the focus. */
    focus() {
        this.#grid.focus({ preventScroll: true });
    }

    #listen() {
        this.#list.onShow = (first, last, eye) => this.#shown(first, last, eye);
        this.#grid.addEventListener('keydown', (event) => this.#onKey(event));
        this.#grid.addEventListener('click', (event) => this.#onClick(event));
        listenToKeys(this.#grid, this.#commands());
        listenToPointer(this.#grid, this.#commands());
        this.#settleAfterScrolling();
        this.#queue.addEventListener('state', () => this.#drawState());
        this.#queue.addEventListener('rows', () => this.#list.redraw());
        this.#queue.addEventListener('change', (event) => this.#change(/** @type {RowsChange} */ (event)));
        this.#queue.addEventListener('busy', () => this.#drawSummary());
        this.#player.addEventListener('player', () => this.#followCurrent());
    }

    #settleAfterScrolling() {
        let timer = 0;
        this.#scroller.addEventListener('scroll', () => {
            this.#settled = false;
            clearTimeout(timer);
            timer = window.setTimeout(() => {
                this.#settled = true;
                this.#list.redraw();
            }, settledAfter);
        });
    }

    // Drawing

    #drawState() {
        const { count, missing, state } = this.#queue;
        this.#list.count = count;
        this.#grid.hidden = count === 0;
        this.#shuffle.hidden = count < 2;
        this.#clear.hidden = count === 0;
        this.#notice.hidden = count > 0 || state === 'loading';
        const [head, hint] = missing ? [text('noQueue'), text('noQueueHint')] : [text('queueEmpty'), text('queueHint')];
        this.#notice.replaceChildren(icon('list'), element('b', {}, head), element('p', {}, hint));
        this.#drawSummary();
        this.#list.draw();
    }

    /** @param {RowsChange} change */
    #change({ moved }) {
        this.#list.count = this.#queue.count;
        if (moved !== 0) this.#list.moveBy(moved);
        this.#focusIndex = Math.max(0, this.#focusIndex + moved);
        if (this.#queue.complete) this.#selection.keep((id) => this.#queue.indexOf(id) !== undefined);
        this.#drawState();
    }

    #drawSummary() {
        const { count, complete, busy } = this.#queue;
        const tracks = text('tracksCount', { count });
        const entries = complete ? this.#queue.known(0, count - 1) : [];
        const known = entries.length > 0 && entries.every((entry) => entry.duration > 0);
        const duration = entries.reduce((sum, entry) => sum + entry.duration, 0);
        const summary = known ? text('queueSummary', { tracks, duration: spokenDuration(duration) }) : tracks;
        setText(this.#summary, busy ? text('searching') : count > 0 ? summary : '');
    }

    /** Keeps what plays in view as long as it is there. */
    #followCurrent() {
        const id = this.#player.current?.id ?? 0;
        const before = this.#queue.indexOf(this.#shownCurrent);
        const now = this.#queue.indexOf(id);
        const wasInView = before !== undefined && this.#list.elementOf(before) !== undefined;
        if (id !== this.#shownCurrent && wasInView && now !== undefined) this.#list.reveal(now);
        this.#shownCurrent = id;
        this.#list.redraw();
    }

    /** @param {number} first @param {number} last @param {number} eye */
    #shown(first, last, eye) {
        if (this.#queue.state !== 'ready') return;
        this.#queue.show(first, last, eye);
        this.#thumb.update();
        this.#drawActive();
    }

    #drawActive() {
        const { focus } = this.#selection;
        const index = focus === null ? undefined : this.#queue.indexOf(focus);
        if (index !== undefined) this.#focusIndex = index;
        setAttribute(this.#grid, 'aria-activedescendant', index !== undefined && this.#list.elementOf(index)?.id);
    }

    /** @param {number} index @returns {EntryState} */
    #stateOf(index) {
        const entry = this.#queue.at(index);
        const id = entry?.id ?? 0;
        return {
            entry,
            current: id === this.#player.current?.id,
            failed: this.#player.hasFailed(id),
            selected: this.#selection.has(id),
            focused: this.#selection.focus === id,
            dragged: this.#drag.ids.has(id),
            settled: this.#settled,
        };
    }

    #nameAtEye() {
        const index = this.#list.firstInView;
        const entry = this.#queue.at(index);
        const values = { index: index + 1, count: this.#list.count };
        return entry ? text('position', { name: isolated(entry.title), ...values }) : text('index', values);
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
            move: (step, extend) => void this.#moveFocus(step, extend),
            activate: (index) => this.#play(index),
            activateFocus: () => this.#play(this.#focusIndex),
            toggleFocus: () => this.#toggle(this.#focusIndex),
            leave: () => void this.#remove(this.#concerned()),
            escape: () => this.#escape(),
            typeAhead: () => {},
            typing: () => false,
            openMenu: (index, at) => void this.#openMenu(index, at),
            openFocusMenu: () => this.#openFocusMenu(),
            press: (index) => this.#press(index),
            selecting: () => this.#selectingByTouch,
        };
    }

    /** Alt with an arrow key moves entries, Delete removes them. @param {KeyboardEvent} event */
    #onKey(event) {
        const steps = { ArrowUp: -1, ArrowDown: 1, Home: -Infinity, End: Infinity };
        const step = steps[/** @type {keyof typeof steps} */ (event.key)];
        if (event.altKey && step) void this.#moveBy(step);
        else if (event.key === 'Delete') void this.#remove(this.#concerned());
        else return;
        event.preventDefault();
        event.stopImmediatePropagation();
    }

    /** @param {MouseEvent} event */
    #onClick(event) {
        const removing = event.target instanceof Element && event.target.closest('.remove');
        const entry = removing && this.#queue.at(this.#list.indexAt(event.target));
        if (!entry) return;
        event.stopImmediatePropagation();
        void this.#remove(this.#selection.concernedBy(entry.id));
    }

    /** The selection, or the entry with the focus. */
    #concerned() {
        const { focus, size, keys } = this.#selection;
        return size > 0 ? keys : focus === null ? [] : [focus];
    }

    /** @param {number} index */
    #select(index) {
        const entry = this.#queue.at(index);
        if (!entry) return;
        this.#selection.only(entry.id);
        this.#focus(index);
    }

    /** Selects from the anchor of the selection to an index. @param {number} index */
    async #extend(index) {
        const { anchor } = this.#selection;
        const from = anchor === null ? index : ((await this.#queue.find(anchor)) ?? index);
        const [first, last] = from < index ? [from, index] : [index, from];
        if (last - first > this.#list.rowsInView) await this.#queue.all();
        const focus = this.#queue.at(index)?.id;
        if (focus === undefined) return;
        this.#selection.anchor ??= focus;
        this.#selection.range(this.#idsOf(first, last), focus);
        this.#focus(index);
    }

    async #selectAll() {
        await this.#queue.all();
        const ids = this.#idsOf(0, this.#queue.count - 1);
        if (ids.length > 0) this.#selection.range(ids, this.#selection.focus ?? ids[0]);
        this.#list.draw();
    }

    /** @param {number} first @param {number} last */
    #idsOf(first, last) {
        return this.#queue.known(first, last).map((entry) => entry.id);
    }

    /** @param {number} index */
    #toggle(index) {
        const entry = this.#queue.at(index);
        if (!entry) return;
        this.#selection.toggle(entry.id);
        this.#selectingByTouch &&= this.#selection.size > 0;
        this.#focus(index);
    }

    /** A finger that holds a row selects it; then taps select further ones. @param {number} index */
    #press(index) {
        if (!this.#selectingByTouch) this.#selection.clear();
        this.#selectingByTouch = true;
        this.#toggle(index);
    }

    #escape() {
        this.#drag.cancel();
        this.#selection.clear();
        this.#selectingByTouch = false;
        this.#list.draw();
    }

    /** @param {number} index */
    #focus(index) {
        this.#focusIndex = index;
        this.#list.reveal(index);
        this.#list.draw();
    }

    /**
     * @param {Parameters<import('./folderinput.js').FolderCommands['move']>[0]} step
     * @param {boolean} extend
     */
    async #moveFocus(step, extend) {
        const last = this.#list.count - 1;
        const page = this.#list.rowsInView;
        const at = this.#selection.focus === null ? -1 : this.#focusIndex;
        const targets = { up: at - 1, down: at + 1, pageUp: at - page, pageDown: at + page, first: 0, last };
        const index = Math.max(0, Math.min(last, targets[step]));
        this.#list.reveal(index);
        this.#list.draw();
        if (await this.#arrived(index)) return extend ? this.#extend(index) : this.#select(index);
    }

    /** Waits for a row in view. @param {number} index */
    async #arrived(index) {
        while (!this.#queue.at(index) && index < this.#queue.count) {
            await new Promise((resolve) => this.#queue.addEventListener('rows', resolve, { once: true }));
        }
        return this.#queue.at(index) !== undefined;
    }

    /** @param {number} index */
    #play(index) {
        const entry = this.#queue.at(index);
        if (entry) void this.#player.play(entry.id);
    }

    /** @param {number} index @param {{ x: number, y: number }} at */
    async #openMenu(index, at) {
        const entry = this.#queue.at(index);
        if (!entry) return;
        if (!this.#selection.has(entry.id)) this.#select(index);
        try {
            const rows = await this.#queue.menu(entry.id);
            const actions = rows.map(([title, path, value]) => this.#action(entry, title, path, value));
            if (actions.length > 0) openMenu(text('menuFor', { name: isolated(entry.title) }), actions, at);
        } catch (error) {
            report(error);
        }
    }

    /** @param {Entry} entry @param {string} title @param {string} path @param {unknown} value null for a folder */
    #action(entry, title, path, value) {
        const ids = this.#inOrder(this.#selection.concernedBy(entry.id));
        if (value === null) return { label: text('showFolder'), run: () => go(path) };
        if (path === `${playerPath}/play`) return { label: text('play'), run: () => void this.#player.play(entry.id) };
        if (path === `${queuePath}move`) return { label: text('playNext'), run: () => void this.#playNext(ids) };
        if (path === `${queuePath}remove`) return { label: text('remove'), run: () => void this.#remove(ids) };
        return { label: title, run: () => void this.#queue.ask(path, value).catch(report) };
    }

    #openFocusMenu() {
        const box = this.#list.elementOf(this.#focusIndex)?.getBoundingClientRect();
        if (box) void this.#openMenu(this.#focusIndex, { x: box.left + 48, y: box.bottom });
    }

    /** @param {number[]} ids */
    async #playNext(ids) {
        const moved = ids.filter((id) => id !== this.#player.current?.id);
        await this.#queue.move(moved, this.#player.current?.id ?? 'head').catch(report);
    }

    /** @param {number[]} ids */
    async #remove(ids) {
        if (ids.length === 0) return;
        const heir = this.#heirOf(ids);
        try {
            offerUndo(this.#queue, ids.length, await this.#queue.remove(ids));
        } catch (error) {
            return report(error);
        }
        this.#selectingByTouch = false;
        this.#selection.clear();
        this.#selection.focus = heir;
        this.#list.draw();
    }

    /** The entry that takes the focus when others go: the one behind the first of them, at the end the one before. @param {number[]} ids */
    #heirOf(ids) {
        const gone = new Set(ids);
        const first = Math.min(...ids.map((id) => this.#queue.indexOf(id) ?? Infinity));
        let index = first;
        while (index < this.#list.count && gone.has(this.#queue.at(index)?.id ?? 0)) ++index;
        return this.#queue.at(index)?.id ?? this.#queue.at(first - 1)?.id ?? null;
    }

    async #removeAll() {
        const { count } = this.#queue;
        try {
            offerUndo(this.#queue, count, await this.#queue.clear());
        } catch (error) {
            report(error);
        }
        this.#scroller.scrollTop = 0;
    }

    // Moving

    /** @param {number} step in rows */
    async #moveBy(step) {
        const ids = this.#inOrder(this.#concerned());
        if (ids.length === 0) return;
        const [first, last] = [this.#indexOf(ids[0]), this.#indexOf(ids[ids.length - 1])];
        const { count } = this.#queue;
        const gap = step < 0 ? Math.max(0, first + step) : Math.min(count, last + 1 + step);
        if (gap > 0 && !this.#queue.at(gap - 1)) await this.#queue.all();
        await this.#drop(ids, gap);
    }

    /** @param {Iterable<number>} ids */
    #inOrder(ids) {
        return [...ids].sort((one, other) => this.#indexOf(one) - this.#indexOf(other));
    }

    /** @param {number} id */
    #indexOf(id) {
        return this.#queue.indexOf(id) ?? -1;
    }

    /** @param {EventTarget | null} target */
    #beginDrag(target) {
        const entry = this.#queue.at(this.#list.indexAt(target));
        if (!entry) return null;
        const ids = this.#inOrder(this.#selection.concernedBy(entry.id));
        return { ids, label: ids.length > 1 ? text('tracksCount', { count: ids.length }) : entry.title };
    }

    /** Puts entries between the rows `gap - 1` and `gap`. @param {number[]} ids @param {number} gap */
    async #drop(ids, gap) {
        const moved = new Set(ids);
        let before = gap - 1;
        while (before >= 0 && moved.has(this.#queue.at(before)?.id ?? 0)) --before;
        const moving = this.#queue.move(ids, this.#queue.at(before)?.id ?? 'head');
        this.#announceMove(ids[0]);
        if (this.#selection.focus !== null && moved.has(this.#selection.focus)) this.#focus(this.#indexOf(this.#selection.focus));
        await moving.catch(report);
    }

    /** @param {number} id */
    #announceMove(id) {
        const index = this.#queue.indexOf(id);
        const entry = index === undefined ? undefined : this.#queue.at(index);
        if (index === undefined || !entry) return;
        const values = { index: index + 1, count: this.#list.count };
        setText(this.#announcer, text('movedTo', { title: isolated(entry.title), ...values }));
    }
}

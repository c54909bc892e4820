/** `<tavo-queue>`: the entries of the queue, to be played, moved and removed. */

import { element, setAttribute, setText } from './dom.js';
import { Drag } from './drag.js';
import { listenToKeys, listenToPointer } from './folderinput.js';
import { icon } from './icons.js';
import { clock, isolated, spokenDuration, text } from './language.js';
import { makeCover } from './cover.js';
import { RowList } from './rowlist.js';
import { Selection } from './selection.js';
import { Thumb } from './thumb.js';
import { toast } from './toast.js';

/** @typedef {import('./queue.js').Queue} Queue */
/** @typedef {import('./queuestate.js').Entry} Entry */

/** Covers wait for the list to stand still for so many ms. */
const settledAfter = 120;

/**
 * @typedef {object} EntryState
 * @property {Entry | undefined} entry
 * @property {boolean} current
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
    draw({ entry, current, selected, focused, dragged, settled }) {
        if (!entry) return;
        const { title, artist, duration, failed } = entry;
        setText(this.#title, title);
        setText(this.#artist, artist);
        setText(this.#time, duration > 0 ? clock(duration) : '');
        setAttribute(this.#name, 'title', [title, artist].filter(Boolean).join('\n'));
        setAttribute(this.#remove, 'aria-label', text('removeEntry', { title: isolated(title) }));
        setAttribute(this.#lead, 'aria-label', current ? text('playing') : failed ? text('notPlayed') : null);
        setAttribute(this.element, 'aria-selected', String(selected));
        setAttribute(this.element, 'aria-current', current && 'true');
        if (settled) this.#cover.show(entry, 100);
        else this.#cover.leave(entry);
        const { classList } = this.element;
        classList.toggle('now', current);
        classList.toggle('failed', failed);
        classList.toggle('focused', focused);
        classList.toggle('dragged', dragged);
    }
}

export class TavoQueue extends HTMLElement {
    #queue;

    /** @type {Selection<number>} */
    #selection = new Selection();
    #focusIndex = 0;
    #selectingByTouch = false;
    #settled = true;
    #shownCurrent = 0;

    /** The entry at the eye, which stays where it is when others come or go above. @type {Entry | undefined} */
    #eye;

    #summary = element('span', { class: 'muted', dir: 'auto' });
    #clear = element('button', { type: 'button', class: 'round', 'aria-label': text('clearQueue'), title: text('clearQueue') }, icon('clear'));
    #grid = element('div', { class: 'rows', role: 'grid', tabindex: 0, 'aria-multiselectable': 'true', 'aria-label': text('queue') });
    #notice = element('div', { class: 'queue-empty' });
    #announcer = element('div', { class: 'unseen', role: 'status' });
    #scroller = element('div', { class: 'scroller' }, this.#notice, this.#grid);
    #list = new RowList(this.#scroller, this.#grid, () => new EntryView(), (index) => this.#stateOf(index));
    #thumb = new Thumb(this.#scroller, () => this.#nameAtEye());
    #drag;

    /** @param {Queue} queue */
    constructor(queue) {
        super();
        this.#queue = queue;
        this.#drag = new Drag(this.#scroller, this.#grid, {
            begin: (target) => this.#beginDrag(target),
            drop: (ids, gap) => this.#drop(ids, gap),
            redraw: () => this.#list.redraw(),
            rowHeight: () => this.#list.rowHeight,
            count: () => this.#list.count,
        });
    }

    connectedCallback() {
        setAttribute(this, 'role', 'region');
        setAttribute(this, 'aria-label', text('queue'));
        const head = element('h2', {}, text('queue'));
        this.append(element('div', { class: 'queue-head' }, head, this.#summary, this.#clear));
        this.append(this.#scroller, this.#thumb.element, this.#announcer);
        this.#notice.append(icon('list'), element('b', {}, text('queueEmpty')), element('p', {}, text('queueHint')));
        setAttribute(this.#grid, 'aria-description', text('queueKeys'));
        this.#listen();
        this.#drawEntries();
    }

    #listen() {
        this.#list.onShow = (first, last) => this.#shown(first, last);
        this.#clear.addEventListener('click', () => void this.#removeAll());
        this.#grid.addEventListener('keydown', (event) => this.#onKey(event));
        this.#grid.addEventListener('click', (event) => this.#onClick(event));
        listenToKeys(this.#grid, this.#commands());
        listenToPointer(this.#grid, this.#commands());
        this.#settleAfterScrolling();
        this.#queue.addEventListener('entries', () => this.#drawEntries());
        this.#queue.addEventListener('tags', () => this.#drawTags());
        this.#queue.addEventListener('busy', () => this.#drawSummary());
        this.#queue.addEventListener('player', () => this.#followCurrent());
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

    #drawEntries() {
        const { entries } = this.#queue;
        const eyeBefore = this.#list.firstInView;
        this.#selection.keep((id) => this.#queue.place(id) >= 0);
        this.#list.count = entries.length;
        const eyeNow = this.#eye ? this.#queue.place(this.#eye.id) : -1;
        if (this.#scroller.scrollTop > 0 && eyeNow >= 0) this.#list.moveBy(eyeNow - eyeBefore);
        this.#grid.hidden = entries.length === 0;
        this.#notice.hidden = entries.length > 0;
        this.#clear.hidden = entries.length === 0;
        this.#drawSummary();
        this.#list.draw();
    }

    #drawTags() {
        this.#drawSummary();
        this.#list.redraw();
    }

    #drawSummary() {
        const { entries, busy } = this.#queue;
        const count = text('tracksCount', { count: entries.length });
        const known = entries.every((entry) => entry.duration > 0);
        const duration = entries.reduce((sum, entry) => sum + entry.duration, 0);
        const summary = known ? text('queueSummary', { tracks: count, duration: spokenDuration(duration) }) : count;
        setText(this.#summary, busy ? text('searching') : entries.length > 0 ? summary : '');
    }

    /** Keeps what plays in view as long as it is there. */
    #followCurrent() {
        const id = this.#queue.current?.id ?? 0;
        const before = this.#queue.place(this.#shownCurrent);
        const wasInView = before >= 0 && this.#list.elementOf(before) !== undefined;
        if (id !== this.#shownCurrent && wasInView && id !== 0) this.#list.reveal(this.#queue.place(id));
        this.#shownCurrent = id;
        this.#list.redraw();
    }

    /** @param {number} first @param {number} last */
    #shown(first, last) {
        const entries = this.#queue.entries.slice(first, last + 1);
        this.#eye = entries[0];
        if (this.#settled) this.#queue.want(entries.map((entry) => entry.id));
        this.#thumb.update();
        this.#drawActive();
    }

    #drawActive() {
        const { focus } = this.#selection;
        const index = focus === null ? -1 : this.#queue.place(focus);
        if (index >= 0) this.#focusIndex = index;
        setAttribute(this.#grid, 'aria-activedescendant', index >= 0 && this.#list.elementOf(index)?.id);
    }

    /** @param {number} index @returns {EntryState} */
    #stateOf(index) {
        const entry = this.#queue.entries[index];
        const id = entry?.id ?? 0;
        return {
            entry,
            current: id === this.#queue.current?.id,
            selected: this.#selection.has(id),
            focused: this.#selection.focus === id,
            dragged: this.#drag.ids.has(id),
            settled: this.#settled,
        };
    }

    #nameAtEye() {
        const values = { index: this.#list.firstInView + 1, count: this.#list.count };
        return this.#eye ? text('position', { name: this.#eye.title, ...values }) : text('index', values);
    }

    // Commands

    /** @returns {import('./folderinput.js').FolderCommands} */
    #commands() {
        return {
            indexAt: (target) => this.#list.indexAt(target),
            select: (index) => this.#select(index, false),
            toggle: (index) => this.#toggle(index),
            extend: (index) => this.#select(index, true),
            selectAll: () => this.#selectAll(),
            move: (step, extend) => this.#moveFocus(step, extend),
            activate: (index) => this.#play(index),
            activateFocus: () => this.#play(this.#focusIndex),
            toggleFocus: () => this.#toggle(this.#focusIndex),
            leave: () => void this.#remove(this.#concerned()),
            escape: () => this.#escape(),
            typeAhead: () => {},
            typing: () => false,
            openMenu: () => {},
            openFocusMenu: () => {},
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
        const entry = removing && this.#queue.entries[this.#list.indexAt(event.target)];
        if (!entry) return;
        event.stopImmediatePropagation();
        void this.#remove(this.#selection.concernedBy(entry.id));
    }

    /** The selection, or the entry with the focus. */
    #concerned() {
        const { focus, size, keys } = this.#selection;
        return size > 0 ? keys : focus === null ? [] : [focus];
    }

    /** @param {number} index @param {boolean} extend */
    #select(index, extend) {
        const id = this.#queue.entries[index]?.id;
        if (id === undefined) return;
        if (extend) this.#selection.range(this.#idsUpTo(index), id);
        else this.#selection.only(id);
        this.#focus(index);
    }

    /** From the anchor of the selection to an index. @param {number} index */
    #idsUpTo(index) {
        const { anchor } = this.#selection;
        const from = anchor === null ? -1 : this.#queue.place(anchor);
        const [first, last] = from < 0 ? [index, index] : from < index ? [from, index] : [index, from];
        return this.#queue.entries.slice(first, last + 1).map((entry) => entry.id);
    }

    #selectAll() {
        const ids = this.#queue.entries.map((entry) => entry.id);
        if (ids.length > 0) this.#selection.range(ids, this.#selection.focus ?? ids[0]);
        this.#list.draw();
    }

    /** @param {number} index */
    #toggle(index) {
        const id = this.#queue.entries[index]?.id;
        if (id === undefined) return;
        this.#selection.toggle(id);
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
    #moveFocus(step, extend) {
        const last = this.#list.count - 1;
        const page = this.#list.rowsInView;
        const at = this.#selection.focus === null ? -1 : this.#focusIndex;
        const targets = { up: at - 1, down: at + 1, pageUp: at - page, pageDown: at + page, first: 0, last };
        this.#select(Math.max(0, Math.min(last, targets[step])), extend);
    }

    /** @param {number} index */
    #play(index) {
        const entry = this.#queue.entries[index];
        if (entry) this.#queue.play(entry.id);
    }

    /** @param {number[]} ids */
    async #remove(ids) {
        const at = ids.reduce((least, id) => Math.min(least, this.#queue.place(id)), Infinity);
        this.#offerUndo(ids.length, await this.#queue.remove(ids));
        this.#selectingByTouch = false;
        const heir = this.#queue.entries[Math.min(at, this.#list.count - 1)];
        this.#selection.clear();
        this.#selection.focus = heir?.id ?? null;
        this.#list.draw();
    }

    async #removeAll() {
        const { length } = this.#queue.entries;
        this.#offerUndo(length, await this.#queue.clear());
        this.#scroller.scrollTop = 0;
    }

    /** @param {number} count @param {number | null} edit */
    #offerUndo(count, edit) {
        if (edit === null) return;
        toast(text('removedCount', { count }), { label: text('undo'), run: () => void this.#queue.undo(edit) });
    }

    // Moving

    /** @param {number} step in rows */
    async #moveBy(step) {
        const ids = this.#inOrder(this.#concerned());
        if (ids.length === 0) return;
        const { entries } = this.#queue;
        const [first, last] = [this.#queue.place(ids[0]), this.#queue.place(ids[ids.length - 1])];
        const gap = step < 0 ? Math.max(0, first + step) : Math.min(entries.length, last + 1 + step);
        await this.#drop(ids, gap);
        if (this.#selection.focus !== null) this.#focus(this.#queue.place(this.#selection.focus));
    }

    /** @param {Iterable<number>} ids */
    #inOrder(ids) {
        return [...ids].sort((one, other) => this.#queue.place(one) - this.#queue.place(other));
    }

    /** @param {EventTarget | null} target */
    #beginDrag(target) {
        const entry = this.#queue.entries[this.#list.indexAt(target)];
        if (!entry) return null;
        const ids = this.#inOrder(this.#selection.concernedBy(entry.id));
        return { ids, label: ids.length > 1 ? text('tracksCount', { count: ids.length }) : entry.title };
    }

    /** Puts entries between the rows `gap - 1` and `gap`. @param {number[]} ids @param {number} gap */
    async #drop(ids, gap) {
        const moved = new Set(ids);
        const anchor = this.#queue.entries.slice(0, gap).findLast((entry) => !moved.has(entry.id));
        await this.#queue.move(ids, anchor?.id ?? 'head');
        const entry = this.#queue.entry(ids[0]);
        if (!entry) return;
        const values = { index: this.#queue.place(entry.id) + 1, count: this.#list.count };
        setText(this.#announcer, text('movedTo', { title: isolated(entry.title), ...values }));
    }
}

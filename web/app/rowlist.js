import { setAttribute } from './dom.js';

/**
 * What draws a row: one entry after the other as the list is scrolled.
 * @template State
 * @typedef {object} View
 * @property {HTMLElement} element
 * @property {number} index
 * @property {(index: number, height: number) => void} place
 * @property {(state: State) => void} draw
 */

const mostElements = 80;
const mostAround = 10;

/**
 * Draws a long list with few elements: those in view and some around them.
 *
 * The list is as high as all its rows; the scroller, which may show more than the list, scrolls over it.
 * @template State
 */
export class RowList {
    #scroller;
    #list;
    #makeView;
    #stateOf;
    /** @type {View<State>[]} in the order of their rows */
    #views = [];
    #frame = 0;
    #count = 0;

    /** Height of a row in pixels. */
    rowHeight = 48;
    /** Called after each drawing with the rows in view. */
    onShow = (/** @type {number} */ _first, /** @type {number} */ _last, /** @type {number} */ _eye) => {};

    /**
     * @param {HTMLElement} scroller
     * @param {HTMLElement} list
     * @param {() => View<State>} makeView
     * @param {(index: number) => State} stateOf
     */
    constructor(scroller, list, makeView, stateOf) {
        this.#scroller = scroller;
        this.#list = list;
        this.#makeView = makeView;
        this.#stateOf = stateOf;
        scroller.addEventListener('scroll', () => this.redraw(), { passive: true });
        new ResizeObserver(() => this.#measure()).observe(scroller);
    }

    get count() {
        return this.#count;
    }

    set count(count) {
        this.#count = count;
        this.#list.style.height = `${count * this.rowHeight}px`;
        setAttribute(this.#list, 'aria-rowcount', count);
    }

    /** Draws with the next frame. */
    redraw() {
        this.#frame ||= requestAnimationFrame(() => this.draw());
    }

    /** Draws now. */
    draw() {
        cancelAnimationFrame(this.#frame);
        this.#frame = 0;
        const { first, last, eye } = this.#inView();
        const around = Math.max(0, Math.min(mostAround, Math.floor((mostElements - (last - first + 1)) / 2)));
        this.#place(Math.max(0, first - around), Math.min(this.#count - 1, last + around, first + mostElements - 1));
        for (const view of this.#views) view.draw(this.#stateOf(view.index));
        this.onShow(first, last, eye);
    }

    /**
     * Scrolls by whole rows, for rows that came or went above.
     * @param {number} rows
     */
    moveBy(rows) {
        this.#scroller.scrollTop += rows * this.rowHeight;
    }

    /**
     * Scrolls as little as possible so that a row is in view.
     * @param {number} index
     */
    reveal(index) {
        const top = this.#listTop() + index * this.rowHeight;
        const { scrollTop, clientHeight } = this.#scroller;
        if (index === 0) this.#scroller.scrollTop = 0;
        else if (top < scrollTop) this.#scroller.scrollTop = top;
        else if (top + this.rowHeight > scrollTop + clientHeight) this.#scroller.scrollTop = top + this.rowHeight - clientHeight;
    }

    get firstInView() {
        return this.#inView().first;
    }

    /** Number of rows that fit into the view. */
    get rowsInView() {
        return Math.max(1, Math.floor(this.#scroller.clientHeight / this.rowHeight) - 1);
    }

    /**
     * The row at a point of the document.
     * @param {EventTarget | null} target
     * @returns {number} -1 without one
     */
    indexAt(target) {
        const row = target instanceof Element ? target.closest('.row') : null;
        return this.#views.find((view) => view.element === row)?.index ?? -1;
    }

    /** @param {number} index */
    elementOf(index) {
        return this.#views.find((view) => view.index === index)?.element;
    }

    #measure() {
        const height = parseFloat(getComputedStyle(this.#list).getPropertyValue('--row'));
        if (height > 0 && height !== this.rowHeight) {
            const eye = this.#inView().first;
            const offset = this.#listTop();
            this.rowHeight = height;
            this.count = this.#count;
            for (const view of this.#views) view.place(view.index, height);
            if (this.#scroller.scrollTop > offset) this.#scroller.scrollTop = offset + eye * height;
        }
        this.redraw();
    }

    #inView() {
        const { scrollTop, clientHeight } = this.#scroller;
        const top = scrollTop - this.#listTop();
        const first = Math.max(0, Math.floor(top / this.rowHeight));
        const last = Math.max(first, Math.ceil((top + clientHeight) / this.rowHeight) - 1);
        return { first, last, eye: scrollTop > 0 ? Math.max(0, Math.ceil(top / this.rowHeight)) : -1 };
    }

    /** How far below the scroller's beginning the list begins. */
    #listTop() {
        return this.#list.offsetTop;
    }

    /**
     * Gives the elements rows, in the document's order, and moves as few of them as possible.
     * @param {number} first
     * @param {number} last
     */
    #place(first, last) {
        const wanted = Math.max(0, last - first + 1);
        while (this.#views.length > wanted) this.#views.pop()?.element.remove();
        while (this.#views.length < wanted) this.#append(this.#makeView());
        if (wanted === 0) return;
        const moved = first - this.#views[0].index;
        if (Math.abs(moved) < wanted) this.#rotate(moved);
        this.#views.forEach((view, offset) => {
            if (view.index !== first + offset) view.place(first + offset, this.rowHeight);
        });
    }

    /** @param {number} moved */
    #rotate(moved) {
        for (; moved > 0; --moved) this.#append(/** @type {View<State>} */ (this.#views.shift()));
        for (; moved < 0; ++moved) {
            const view = /** @type {View<State>} */ (this.#views.pop());
            this.#views.unshift(view);
            this.#list.prepend(view.element);
        }
    }

    /** @param {View<State>} view */
    #append(view) {
        this.#views.push(view);
        this.#list.append(view.element);
    }
}

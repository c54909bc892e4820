/** Dragging rows of a long list to another place, with the mouse or, at the grip, with a finger. */

import { element, setText } from './dom.js';

/**
 * @typedef {object} DragCommands
 * @property {(target: EventTarget | null) => { ids: number[], label: string } | null} begin what a drag from there moves
 * @property {(ids: number[], gap: number) => void} drop between the rows `gap - 1` and `gap`
 * @property {() => void} redraw
 * @property {() => number} rowHeight in pixels
 * @property {() => number} count of rows
 */

/** The mouse moves so many pixels before it drags. */
const stillness = 5;

/** So close to an edge, in pixels, the list scrolls by itself. */
const edge = 48;

export class Drag {
    #scroller;
    #list;
    #commands;
    #line = element('div', { class: 'drop-line', hidden: true, 'aria-hidden': 'true' });
    #ghost = element('div', { class: 'drag-ghost', hidden: true, dir: 'auto', 'aria-hidden': 'true' });

    /** @type {PointerEvent | null} */
    #start = null;
    #pointerX = 0;
    #pointerY = 0;
    #frame = 0;

    /** What is being dragged, in its order. @type {Set<number>} */
    ids = new Set();

    /**
     * @param {HTMLElement} scroller
     * @param {HTMLElement} list
     * @param {DragCommands} commands
     */
    constructor(scroller, list, commands) {
        this.#scroller = scroller;
        this.#list = list;
        this.#commands = commands;
        scroller.append(this.#line, this.#ghost);
        list.addEventListener('pointerdown', (event) => this.#press(event));
        list.addEventListener('pointermove', (event) => this.#move(event));
        list.addEventListener('pointerup', () => this.#release());
        list.addEventListener('pointercancel', () => this.cancel());
        // A finger's first target loses the capture to the list.
        list.addEventListener('lostpointercapture', (event) => event.target === list && this.cancel());
    }

    cancel() {
        cancelAnimationFrame(this.#frame);
        this.#start = null;
        if (this.ids.size === 0) return;
        this.ids = new Set();
        this.#line.hidden = this.#ghost.hidden = true;
        this.#list.classList.remove('dragging');
        this.#commands.redraw();
    }

    /** @param {PointerEvent} event */
    #press(event) {
        const target = /** @type {Element} */ (event.target);
        const grip = target.closest('.grip') !== null;
        if (event.button !== 0 || target.closest('button') || (event.pointerType !== 'mouse' && !grip)) return;
        this.#start = event;
        // At the grip a finger that holds still means to drag, not to select.
        if (event.pointerType !== 'mouse') event.stopImmediatePropagation();
    }

    /** @param {PointerEvent} event */
    #move(event) {
        if (!this.#start || event.pointerId !== this.#start.pointerId) return;
        this.#pointerX = event.clientX;
        this.#pointerY = event.clientY;
        const far = Math.hypot(event.clientX - this.#start.clientX, event.clientY - this.#start.clientY) > stillness;
        if (this.ids.size === 0 && far) this.#begin(this.#start);
    }

    /** @param {PointerEvent} start */
    #begin(start) {
        const dragged = this.#commands.begin(start.target);
        if (!dragged) return this.cancel();
        this.ids = new Set(dragged.ids);
        this.#list.setPointerCapture(start.pointerId);
        this.#list.classList.add('dragging');
        setText(this.#ghost, dragged.label);
        this.#line.hidden = this.#ghost.hidden = false;
        this.#follow();
        this.#commands.redraw();
    }

    /** In each frame: the list scrolls while the pointer stays at its edge. */
    #follow() {
        const box = this.#scroller.getBoundingClientRect();
        const above = box.top + edge - this.#pointerY;
        const below = this.#pointerY - (box.bottom - edge);
        if (above > 0) this.#scroller.scrollTop -= Math.min(edge, above) / 3;
        else if (below > 0) this.#scroller.scrollTop += Math.min(edge, below) / 3;
        this.#line.style.transform = `translateY(${this.#gap * this.#commands.rowHeight() + this.#list.offsetTop}px)`;
        const { left, top } = box;
        const [x, y] = [this.#pointerX - left + 12, this.#pointerY - top + this.#scroller.scrollTop + 8];
        this.#ghost.style.transform = `translate(${x}px, ${y}px)`;
        this.#frame = requestAnimationFrame(() => this.#follow());
    }

    get #gap() {
        const y = this.#pointerY - this.#list.getBoundingClientRect().top;
        return Math.max(0, Math.min(this.#commands.count(), Math.round(y / this.#commands.rowHeight())));
    }

    #release() {
        const { ids } = this;
        const gap = this.#gap;
        this.cancel();
        if (ids.size > 0) this.#commands.drop([...ids], gap);
    }
}

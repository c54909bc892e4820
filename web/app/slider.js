import { element, setAttribute } from './dom.js';

/** A slider with the parts that are loaded behind its track. */
export class Slider {
    /** Somebody drags it. */
    held = false;

    #parts = element('span', { class: 'slider-parts', 'aria-hidden': 'true' });

    /** @param {string} label @param {number} step of the arrow keys */
    constructor(label, step) {
        this.input = element('input', { type: 'range', min: 0, max: 0, value: 0, step: 'any', 'aria-label': label });
        this.element = element('span', { class: 'slider' }, this.#parts, this.input);
        this.input.addEventListener('pointerdown', () => (this.held = true));
        for (const type of ['change', 'pointerup', 'pointercancel', 'blur']) {
            this.input.addEventListener(type, () => (this.held = false));
        }
        this.input.addEventListener('keydown', (event) => this.#onKey(event, step));
    }

    get value() {
        return Number(this.input.value);
    }

    set value(value) {
        this.input.value = String(value);
        this.element.style.setProperty('--at', `${this.#share(this.value) * 100}%`);
    }

    /** @param {number} max */
    set max(max) {
        setAttribute(this.input, 'max', Math.max(0, max));
        this.input.disabled = max <= 0;
    }

    /** @param {string} words */
    describe(words) {
        setAttribute(this.input, 'aria-valuetext', words);
    }

    /** @param {[number, number][]} parts from and to */
    showParts(parts) {
        while (this.#parts.children.length < parts.length) this.#parts.append(element('span'));
        while (this.#parts.children.length > parts.length) this.#parts.lastChild?.remove();
        parts.forEach(([from, to], index) => {
            const { style } = /** @type {HTMLElement} */ (this.#parts.children[index]);
            style.insetInlineStart = `${this.#share(from) * 100}%`;
            style.inlineSize = `${this.#share(to - from) * 100}%`;
        });
    }

    /** @param {number} value */
    #share(value) {
        const max = Number(this.input.max);
        return max > 0 ? Math.min(1, value / max) : 0;
    }

    /** Arrow keys move by a step of their own, since the slider itself has none. @param {KeyboardEvent} event @param {number} step */
    #onKey(event, step) {
        const by = { ArrowLeft: -step, ArrowDown: -step, ArrowRight: step, ArrowUp: step }[event.key];
        if (by === undefined || event.ctrlKey || event.altKey || event.metaKey) return;
        event.preventDefault();
        this.value += by;
        this.input.dispatchEvent(new Event('input'));
        this.input.dispatchEvent(new Event('change'));
    }
}

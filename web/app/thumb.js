import { element, setText } from './dom.js';

const leastHeight = 44;

/** A thumb beside a long list that shows where one is. While it is dragged it names the row at the eye. */
export class Thumb {
    #scroller;
    #label = element('span', { class: 'thumb-label', dir: 'auto' });
    #nameAtEye;
    #grabbed = 0;

    element = element('div', { class: 'thumb', 'aria-hidden': 'true', hidden: true }, this.#label);

    /**
     * @param {HTMLElement} scroller
     * @param {() => string} nameAtEye
     */
    constructor(scroller, nameAtEye) {
        this.#scroller = scroller;
        this.#nameAtEye = nameAtEye;
        this.element.addEventListener('pointerdown', (event) => this.#grab(event));
        this.element.addEventListener('pointermove', (event) => this.#drag(event));
        this.element.addEventListener('lostpointercapture', () => this.#release());
    }

    /** Follows the scroller; shown only where the list is many times as high as the view. */
    update() {
        const { scrollHeight, clientHeight, scrollTop } = this.#scroller;
        const long = scrollHeight > clientHeight * 10;
        this.element.hidden = !long;
        this.#scroller.classList.toggle('has-thumb', long);
        if (!long) return;
        const height = Math.max(leastHeight, (clientHeight * clientHeight) / scrollHeight);
        const top = (scrollTop / (scrollHeight - clientHeight)) * (clientHeight - height);
        this.element.style.height = `${height}px`;
        this.element.style.transform = `translateY(${top}px)`;
        if (this.#dragging) setText(this.#label, this.#nameAtEye());
    }

    get #dragging() {
        return this.element.classList.contains('dragging');
    }

    /** @param {PointerEvent} event */
    #grab(event) {
        event.preventDefault();
        this.element.setPointerCapture(event.pointerId);
        this.#grabbed = event.clientY - this.element.getBoundingClientRect().top;
        this.element.classList.add('dragging');
        this.update();
    }

    /** @param {PointerEvent} event */
    #drag(event) {
        if (!this.#dragging) return;
        const { top, height } = this.#scroller.getBoundingClientRect();
        const room = height - this.element.offsetHeight;
        const at = Math.max(0, Math.min(room, event.clientY - this.#grabbed - top));
        this.#scroller.scrollTop = (at / room) * (this.#scroller.scrollHeight - this.#scroller.clientHeight);
    }

    #release() {
        this.element.classList.remove('dragging');
    }
}

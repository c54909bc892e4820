import { element, setAttribute, setText } from './dom.js';
import { icon } from './icons.js';
import { isolated, text } from './language.js';
import { openMenu } from './menu.js';

/** @typedef {import('./output.js').Output} Output */
/** @typedef {import('./player.js').Player} Player */

/** The button that says where the player plays, and lets choose. */
export class OutputChoice {
    #player;
    #output;
    #name = element('span', { class: 'output-name', dir: 'auto' });

    element = element('button', { type: 'button', class: 'player-output', 'aria-haspopup': 'menu' }, icon('output'), this.#name);

    /** @param {Player} player @param {Output} output this page */
    constructor(player, output) {
        this.#player = player;
        this.#output = output;
        this.element.addEventListener('click', () => void this.#open());
    }

    draw() {
        const { output } = this.#player;
        const name = output === null ? text('noOutput') : this.#labelOf(output);
        const label = text('playsOn', { name: isolated(name) });
        setText(this.#name, name);
        setAttribute(this.element, 'aria-label', label);
        setAttribute(this.element, 'title', label);
        this.element.classList.toggle('on', output !== null && !this.#output.active);
    }

    async #open() {
        const { left, top } = this.element.getBoundingClientRect();
        const names = [this.#output.name, ...this.#player.outputs.filter((name) => name !== this.#output.name)];
        const actions = names.map((name) => ({
            label: this.#labelOf(name),
            checked: name === this.#player.output,
            run: () => void this.#choose(name),
        }));
        openMenu(text('outputs'), actions, { x: left, y: top - 40 * actions.length - 22 });
    }

    /** @param {string} name */
    #choose(name) {
        return this.#player.setOutput(name, name === this.#output.name ? () => this.#output.offer() : undefined);
    }

    /** @param {string} name */
    #labelOf(name) {
        return name === this.#output.name ? text('thisBrowser') : name;
    }
}

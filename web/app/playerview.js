/** `<tavo-player>`: the bar at the foot of the page, and the full view that it opens to. */

import { element, setAttribute, setText } from './dom.js';
import { icon } from './icons.js';
import { clock, text } from './language.js';
import { connectMediaSession } from './mediasession.js';
import { coverAddress } from './paths.js';
import { Player } from './player.js';
import { toast } from './toast.js';

/** @typedef {import('./queue.js').Queue} Queue */
/** @typedef {import('./queuestate.js').Entry} Entry */

/** Ids of labels, since the page may have more than one. */
let serial = 0;

/** Emits `full` when the full view opens or closes. */
export class PlayerView extends HTMLElement {
    /** @type {Queue | null} */
    #queue = null;

    /** @type {Player | null} */
    #player = null;

    /** @type {(() => void)[]} */
    #updates = [];

    #full = element('dialog', { class: 'player-full' });
    #status = element('p', { class: 'player-status', role: 'status' });
    #announced = '';
    #drawing = false;

    /** Set once. @param {Queue} queue */
    set queue(queue) {
        const audio = /** @type {[HTMLAudioElement, HTMLAudioElement]} */ ([element('audio'), element('audio')]);
        this.#queue = queue;
        this.#player = new Player(queue, audio);
        this.append(...audio, this.#makeBar(queue, this.#player), this.#makeFull(queue, this.#player), this.#status);
        for (const type of ['player', 'tags', 'entries']) queue.addEventListener(type, () => this.#draw());
        this.#player.addEventListener('progress', () => this.#draw());
        this.#player.addEventListener('trouble', (event) => showTrouble(/** @type {any} */ (event)));
        connectMediaSession(queue, this.#player);
        document.addEventListener('keydown', (event) => this.#onKey(event));
        this.#draw();
    }

    get full() {
        return this.#full.open;
    }

    openFull() {
        if (this.#full.open) return;
        this.#full.showModal();
        this.dispatchEvent(new Event('full'));
    }

    closeFull() {
        this.#full.close();
    }

    /** @param {Queue} queue @param {Player} player */
    #makeBar(queue, player) {
        const open = element('button', { type: 'button', class: 'player-open' }, this.#makeCover(queue, 200));
        open.append(this.#makeNames(queue));
        open.addEventListener('click', () => this.openFull());
        this.#updates.push(() => setAttribute(open, 'aria-label', openLabel(queue.current)));
        const middle = element('div', { class: 'player-middle' }, this.#makeButtons(queue, player), this.#makeSeek(player));
        const bar = element('section', { class: 'player-bar', 'aria-label': text('player') }, open, middle);
        bar.append(this.#makeVolume(player));
        return bar;
    }

    /** @param {Queue} queue @param {Player} player */
    #makeFull(queue, player) {
        const close = button('down', text('closePlayer'), () => this.closeFull());
        const title = element('h2', { id: `player-title-${++serial}`, dir: 'auto' });
        const artist = element('p', { dir: 'auto' });
        const album = element('p', { dir: 'auto' });
        const following = element('p', { class: 'player-following' });
        const names = element('div', { class: 'player-names' }, title, artist, album);
        const controls = [this.#makeSeek(player), this.#makeButtons(queue, player), this.#makeVolume(player)];
        const side = element('div', { class: 'player-side' }, names, ...controls, following);
        this.#full.append(element('div', { class: 'player-top' }, close), this.#makeCover(queue, 800), side);
        setAttribute(this.#full, 'aria-labelledby', title.id);
        this.#full.addEventListener('close', () => this.dispatchEvent(new Event('full')));
        this.#updates.push(() => {
            setText(title, queue.current?.title ?? text('nothingPlays'));
            setText(artist, queue.current?.artist ?? '');
            setText(album, queue.current?.album ?? '');
            setText(following, queue.following ? text('followedBy', { title: isolated(queue.following.title) }) : '');
        });
        return this.#full;
    }

    /** @param {Queue} queue @param {number} width */
    #makeCover(queue, width) {
        const cover = makeCover();
        this.#updates.push(() => cover.show(queue.current, width));
        return cover.element;
    }

    /** @param {Queue} queue */
    #makeNames(queue) {
        const title = element('b', { dir: 'auto' });
        const artist = element('small', { dir: 'auto' });
        this.#updates.push(() => {
            setText(title, queue.current?.title ?? text('nothingPlays'));
            setAttribute(title, 'title', queue.current?.title);
            setText(artist, queue.current?.artist ?? '');
        });
        return element('span', { class: 'player-names' }, title, artist);
    }

    /** @param {Queue} queue @param {Player} player */
    #makeButtons(queue, player) {
        const shuffle = button('shuffle', text('shuffle'), () => queue.setShuffle(!queue.shuffle));
        const previous = button('previous', text('previous'), () => player.previous());
        const play = button('play', text('play'), () => player.toggle());
        const next = button('next', text('next'), () => queue.next());
        const repeat = button('repeat', text('repeatOff'), () => queue.setRepeat(afterRepeat[queue.repeat]));
        play.classList.add('player-play');
        this.#updates.push(() => {
            setAttribute(shuffle, 'aria-pressed', String(queue.shuffle));
            dress(play, queue.state === 'playing' ? 'pause' : 'play', text(queue.state === 'playing' ? 'pause' : 'play'));
            play.classList.toggle('waits', player.waiting);
            dress(repeat, queue.repeat === 'one' ? 'repeatOne' : 'repeat', text(repeatKeys[queue.repeat]));
            repeat.classList.toggle('on', queue.repeat !== 'off');
            for (const control of [previous, play, next]) control.disabled = queue.entries.length === 0;
        });
        return element('div', { class: 'player-buttons' }, shuffle, previous, play, next, repeat);
    }

    /** @param {Player} player */
    #makeSeek(player) {
        const slider = new Slider(text('seek'), 1000);
        const position = element('span');
        const duration = element('span');
        slider.input.addEventListener('change', () => player.seek(slider.value));
        this.#updates.push(() => {
            slider.max = player.duration;
            if (!slider.held) slider.value = player.position;
            slider.showParts(player.buffered);
            setText(position, clock(slider.value));
            setText(duration, clock(player.duration));
            slider.describe(text('positionOf', { position: clock(slider.value), duration: clock(player.duration) }));
        });
        slider.input.addEventListener('input', () => this.#draw());
        return element('div', { class: 'player-seek' }, position, slider.element, duration);
    }

    /** @param {Player} player */
    #makeVolume(player) {
        const mute = button('volume', text('mute'), () => (player.muted = !player.muted));
        const slider = new Slider(text('volume'), 5);
        slider.max = 100;
        slider.input.addEventListener('input', () => (player.volume = slider.value));
        this.#updates.push(() => {
            const silent = player.muted || player.volume === 0;
            dress(mute, silent ? 'muted' : 'volume', text(player.muted ? 'unmute' : 'mute'));
            slider.value = player.muted ? 0 : player.volume;
            slider.describe(`${Math.round(slider.value)} %`);
        });
        return element('div', { class: 'player-volume' }, mute, slider.element);
    }

    /** Draws once in a frame; in a hidden page not at all. */
    #draw() {
        if (this.#drawing) return;
        this.#drawing = true;
        requestAnimationFrame(() => {
            this.#drawing = false;
            this.toggleAttribute('empty', !this.#queue?.current);
            for (const update of this.#updates) update();
            this.#announce();
        });
    }

    /** Says what plays when that changes by itself or by command, not while it only goes on. */
    #announce() {
        const { current, state } = /** @type {Queue} */ (this.#queue);
        const said = current && state === 'playing' ? [current.title, current.artist].filter(Boolean).join(', ') : '';
        if (!said || said === this.#announced) return;
        this.#announced = said;
        setText(this.#status, text('nowPlays', { title: said }));
    }

    /** The space bar plays and pauses where it means nothing else. @param {KeyboardEvent} event */
    #onKey(event) {
        const { ctrlKey, altKey, metaKey, shiftKey } = event;
        if (event.key !== ' ' || event.defaultPrevented || ctrlKey || altKey || metaKey || shiftKey) return;
        if (event.target instanceof Element && event.target.closest(usesSpace)) return;
        event.preventDefault();
        this.#player?.toggle();
    }
}

const usesSpace =
    'input, textarea, select, button, a, summary, [contenteditable], [role=button], [role=option], [role=row], ' +
    '[role=listbox], [role=grid], [role=menu], [role=menuitem]';

/** @type {Record<import('./queuestate.js').Repeat, import('./queuestate.js').Repeat>} */
const afterRepeat = { off: 'all', all: 'one', one: 'off' };

/** @type {Record<import('./queuestate.js').Repeat, 'repeatOff' | 'repeatAll' | 'repeatOne'>} */
const repeatKeys = { off: 'repeatOff', all: 'repeatAll', one: 'repeatOne' };

/** @param {import('./player.js').Trouble} trouble */
function showTrouble({ entry, reason }) {
    const keys = /** @type {const} */ ({ gone: 'troubleGone', format: 'troubleFormat', blocked: 'troubleBlocked', givenUp: 'troubleGivenUp' });
    toast(text(keys[reason], { title: isolated(entry.title) }));
}

/** Keeps a name's direction from reaching the text around it. @param {string} name */
function isolated(name) {
    return `\u2068${name}\u2069`;
}

/** @param {Entry | null} entry */
function openLabel(entry) {
    return entry ? text('openPlayerWith', { title: isolated(entry.title) }) : text('openPlayer');
}

/** @param {string} name @param {string} label @param {() => void} run */
export function button(name, label, run) {
    const made = element('button', { type: 'button', 'aria-label': label, title: label, 'data-icon': name }, icon(name));
    made.addEventListener('click', run);
    return made;
}

/** @param {HTMLButtonElement} worn @param {string} name @param {string} label */
function dress(worn, name, label) {
    setAttribute(worn, 'aria-label', label);
    setAttribute(worn, 'title', label);
    if (worn.dataset.icon === name) return;
    worn.dataset.icon = name;
    worn.replaceChildren(icon(name));
}

/** A square with an entry's cover, or with a note for an entry without one. */
export function makeCover() {
    const picture = element('img', { alt: '', decoding: 'async', draggable: 'false' });
    const square = element('span', { class: 'cover', 'aria-hidden': 'true' }, icon('track'), picture);
    picture.addEventListener('error', () => square.classList.remove('pictured'));
    picture.addEventListener('load', () => square.classList.add('pictured'));
    return {
        element: square,
        /** @param {Entry | null} entry @param {number} width in pixels */
        show(entry, width) {
            const address = entry && coverAddress(entry.path, width);
            if (picture.getAttribute('src') === address) return;
            square.classList.remove('pictured');
            setAttribute(picture, 'src', address);
        },
    };
}

/** A slider with the parts that are loaded behind its track. */
class Slider {
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

customElements.define('tavo-player', PlayerView);

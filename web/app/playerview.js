/** `<tavo-player>`: the bar at the foot of the page, and the full view that it opens to. */

import { makeCover } from './cover.js';
import { element, setAttribute, setText } from './dom.js';
import { icon } from './icons.js';
import { clock, isolated, text } from './language.js';
import { connectMediaSession } from './mediasession.js';
import { Player } from './player.js';
import { Slider } from './slider.js';
import { toast } from './toast.js';

/** @typedef {import('./queue.js').Queue} Queue */

/** Ids of labels, since the page may have more than one. */
let serial = 0;

/** Emits `full` when the full view opens or closes. */
export class TavoPlayer extends HTMLElement {
    #queue;
    #audio = /** @type {[HTMLAudioElement, HTMLAudioElement]} */ ([element('audio'), element('audio')]);
    #player;

    /** @type {(() => void)[]} */
    #updates = [];

    #full = element('dialog', { class: 'player-full' });
    #status = element('p', { class: 'unseen', role: 'status' });
    #announced = '';
    #drawing = false;

    /** @param {Queue} queue */
    constructor(queue) {
        super();
        this.#queue = queue;
        this.#player = new Player(queue, this.#audio);
    }

    connectedCallback() {
        this.append(...this.#audio, this.#makeBar(), this.#makeFull(), this.#status);
        for (const type of ['player', 'tags', 'entries']) this.#queue.addEventListener(type, () => this.#draw());
        this.#player.addEventListener('progress', () => this.#draw());
        this.#player.addEventListener('trouble', (event) => showTrouble(/** @type {any} */ (event)));
        connectMediaSession(this.#queue, this.#player);
        document.addEventListener('keydown', (event) => this.#onKey(event));
        this.#draw();
    }

    get full() {
        return this.#full.open;
    }

    openFull() {
        if (this.#full.open) return;
        this.#full.showModal();
        this.#draw();
        this.dispatchEvent(new Event('full'));
    }

    closeFull() {
        this.#full.close();
    }

    #makeBar() {
        const open = element('button', { type: 'button', class: 'player-open' }, this.#makeCover(200));
        open.append(this.#makeNames(), element('span', { class: 'unseen' }, text('openPlayer')));
        open.addEventListener('click', () => this.openFull());
        const middle = element('div', { class: 'player-middle' }, this.#makeButtons(), this.#makeSeek());
        const bar = element('section', { class: 'player-bar', 'aria-label': text('player') }, open, middle);
        bar.append(this.#makeVolume());
        return bar;
    }

    #makeFull() {
        const queue = this.#queue;
        const close = button('down', text('closePlayer'), () => this.closeFull());
        const title = element('h2', { id: `player-title-${++serial}`, dir: 'auto' });
        const artist = element('p', { dir: 'auto' });
        const album = element('p', { dir: 'auto' });
        const following = element('p', { class: 'player-following' });
        const names = element('div', { class: 'player-names' }, title, artist, album);
        const controls = [this.#makeSeek(), this.#makeButtons(), this.#makeVolume()];
        const side = element('div', { class: 'player-side' }, names, ...controls, following);
        this.#full.append(element('div', { class: 'player-top' }, close), this.#makeCover(800, () => this.full), side);
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

    /** @param {number} width in pixels @param {() => boolean} isShown */
    #makeCover(width, isShown = () => true) {
        const cover = makeCover();
        this.#updates.push(() => cover.show(isShown() ? this.#queue.current : null, width));
        return cover.element;
    }

    #makeNames() {
        const queue = this.#queue;
        const title = element('b', { dir: 'auto' });
        const artist = element('small', { dir: 'auto' });
        this.#updates.push(() => {
            setText(title, queue.current?.title ?? text('nothingPlays'));
            setAttribute(title, 'title', queue.current?.title);
            setText(artist, queue.current?.artist ?? '');
        });
        return element('span', { class: 'player-names' }, title, artist);
    }

    #makeButtons() {
        const queue = this.#queue;
        const player = this.#player;
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

    #makeSeek() {
        const player = this.#player;
        const slider = new Slider(text('seek'), 1000);
        const position = element('span');
        const duration = element('span');
        slider.input.addEventListener('change', () => player.seek(slider.value));
        this.#updates.push(() => {
            slider.max = player.duration;
            if (!slider.held) slider.value = player.position;
            slider.showParts(player.buffered);
            // The second that is under way has not passed.
            const values = { position: clock(slider.value - 500), duration: clock(player.duration) };
            setText(position, values.position);
            setText(duration, values.duration);
            slider.describe(text('positionOf', values));
        });
        slider.input.addEventListener('input', () => this.#draw());
        return element('div', { class: 'player-seek' }, position, slider.element, duration);
    }

    #makeVolume() {
        const player = this.#player;
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
            this.toggleAttribute('empty', !this.#queue.current);
            for (const update of this.#updates) update();
            this.#announce();
        });
    }

    /** Says what plays when that changes by itself or by command, not while it only goes on. */
    #announce() {
        const { current, state } = this.#queue;
        const said = current && state === 'playing' ? [current.title, current.artist].filter(Boolean).join(', ') : '';
        if (!said || said === this.#announced) return;
        this.#announced = said;
        setText(this.#status, text('nowPlays', { title: said }));
    }

    /** The space bar plays and pauses where it means nothing else, and with Ctrl everywhere. @param {KeyboardEvent} event */
    #onKey(event) {
        const { ctrlKey, altKey, metaKey, shiftKey } = event;
        if (event.key !== ' ' || event.defaultPrevented || altKey || metaKey || shiftKey) return;
        if (!ctrlKey && event.target instanceof Element && event.target.closest(usesSpace)) return;
        event.preventDefault();
        this.#player.toggle();
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

/** @param {string} name @param {string} label @param {() => void} run */
function button(name, label, run) {
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

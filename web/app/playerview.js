/** `<tavo-player>`: the bar at the foot of the page, and the full view that it opens to. */

import { report } from './actions.js';
import { makeCover } from './cover.js';
import { deviceName } from './device.js';
import { element, setAttribute, setText } from './dom.js';
import { icon, iconButton } from './icons.js';
import { clock, isolated, text } from './language.js';
import { connectMediaSession } from './mediasession.js';
import { Output } from './output.js';
import { OutputChoice } from './outputchoice.js';
import { Slider } from './slider.js';
import { toast } from './toast.js';

/** @typedef {import('./player.js').Player} Player */
/** @typedef {import('./queue.js').Queue} Queue */
/** @typedef {import('./session.js').Session} Session */

/** The position is drawn again after so many ms. */
const tick = 250;

/** Ids of labels, since the page may have more than one. */
let serial = 0;

/** Emits `full` when the full view opens or closes. */
export class TavoPlayer extends HTMLElement {
    #queue;
    #audio = /** @type {[HTMLAudioElement, HTMLAudioElement]} */ ([element('audio'), element('audio')]);
    #player;
    #output;

    /** The volume that ends a silence. */
    #volumeBefore = 100;

    /** @type {(() => void)[]} */
    #updates = [];

    #full = element('dialog', { class: 'player-full' });
    #status = element('p', { class: 'unseen', role: 'status' });
    #announced = '';
    #drawing = false;

    /** @param {Session} session @param {Queue} queue @param {Player} player */
    constructor(session, queue, player) {
        super();
        this.#queue = queue;
        this.#player = player;
        this.#output = new Output(session, player, this.#audio, deviceName());
    }

    connectedCallback() {
        this.append(...this.#audio, this.#makeBar(), this.#makeFull(), this.#status);
        for (const type of ['player', 'outputs']) this.#player.addEventListener(type, () => this.#draw());
        this.#queue.addEventListener('change', () => this.#draw());
        this.#output.addEventListener('progress', () => this.#draw());
        this.#output.addEventListener('trouble', (event) => showTrouble(/** @type {any} */ (event)));
        this.#player.addEventListener('givenUp', () => this.#showGivenUp());
        this.#player.addEventListener('refused', (event) => report(/** @type {any} */ (event).error));
        connectMediaSession(this.#player, this.#output);
        this.#offerAfterGesture();
        setInterval(() => this.#player.state === 'playing' && this.#draw(), tick);
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

    /** Browsers allow sound after a gesture. */
    #offerAfterGesture() {
        const stopped = new AbortController();
        const offer = () => {
            stopped.abort();
            // Where nobody chooses this page it does not matter.
            if (!this.#queue.missing) this.#output.offer().catch(() => {});
        };
        for (const type of ['pointerup', 'keydown']) document.addEventListener(type, offer, { capture: true, signal: stopped.signal });
    }

    /** In ms. */
    get #position() {
        const { active, position } = this.#output;
        return active && this.#player.sought === null ? position : this.#player.position;
    }

    /** In ms, 0 as long as nobody knows it. */
    get #duration() {
        return (this.#output.active && this.#output.duration) || this.#player.duration;
    }

    #makeBar() {
        const open = element('button', { type: 'button', class: 'player-open' }, this.#makeCover(200));
        open.append(this.#makeNames(), element('span', { class: 'unseen' }, text('openPlayer')));
        open.addEventListener('click', () => this.openFull());
        const middle = element('div', { class: 'player-middle' }, this.#makeButtons(), this.#makeSeek());
        const bar = element('section', { class: 'player-bar', 'aria-label': text('player') }, open, middle);
        bar.append(element('div', { class: 'player-end' }, this.#makeOutput(), this.#makeVolume()));
        return bar;
    }

    #makeFull() {
        const player = this.#player;
        const close = iconButton('down', text('closePlayer'), () => this.closeFull());
        const title = element('h2', { id: `player-title-${++serial}`, dir: 'auto' });
        const artist = element('p', { dir: 'auto' });
        const album = element('p', { dir: 'auto' });
        const following = element('p', { class: 'player-following' });
        const names = element('div', { class: 'player-names' }, title, artist, album);
        const controls = [this.#makeSeek(), this.#makeButtons(), this.#makeVolume(), this.#makeOutput()];
        const side = element('div', { class: 'player-side' }, names, ...controls, following);
        this.#full.append(element('div', { class: 'player-top' }, close), this.#makeCover(800, () => this.full), side);
        setAttribute(this.#full, 'aria-labelledby', title.id);
        this.#full.addEventListener('close', () => this.dispatchEvent(new Event('full')));
        this.#updates.push(() => {
            setText(title, player.current?.title ?? text('nothingPlays'));
            setText(artist, player.current?.artist ?? '');
            setText(album, player.current?.album ?? '');
            setText(following, player.following ? text('followedBy', { title: isolated(player.following.title) }) : '');
        });
        return this.#full;
    }

    /** @param {number} width in pixels @param {() => boolean} isShown */
    #makeCover(width, isShown = () => true) {
        const cover = makeCover();
        this.#updates.push(() => cover.show((isShown() && this.#player.current?.source) || '', width));
        return cover.element;
    }

    #makeNames() {
        const player = this.#player;
        const title = element('b', { dir: 'auto' });
        const artist = element('small', { dir: 'auto' });
        this.#updates.push(() => {
            setText(title, player.current?.title ?? text('nothingPlays'));
            setAttribute(title, 'title', player.current?.title);
            setText(artist, player.current?.artist ?? '');
        });
        return element('span', { class: 'player-names' }, title, artist);
    }

    #makeButtons() {
        const player = this.#player;
        const shuffle = iconButton('shuffle', text('shuffle'), () => player.setShuffle(!player.shuffle));
        const previous = iconButton('previous', text('previous'), () => player.previous(this.#position));
        const play = iconButton('play', text('play'), () => player.toggle());
        const next = iconButton('next', text('next'), () => player.next());
        const repeat = iconButton('repeat', text('repeatOff'), () => player.setRepeat(afterRepeat[player.repeat]));
        play.classList.add('player-play');
        this.#updates.push(() => {
            setAttribute(shuffle, 'aria-pressed', String(player.shuffle));
            dress(play, player.state === 'playing' ? 'pause' : 'play', text(player.state === 'playing' ? 'pause' : 'play'));
            play.classList.toggle('waits', this.#output.waiting);
            dress(repeat, player.repeat === 'one' ? 'repeatOne' : 'repeat', text(repeatKeys[player.repeat]));
            repeat.classList.toggle('on', player.repeat !== 'off');
            for (const control of [previous, play, next]) control.disabled = this.#queue.count === 0;
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
            slider.max = this.#duration;
            if (!slider.held) slider.value = this.#position;
            slider.showParts(this.#output.active ? this.#output.buffered : []);
            // The second that is under way has not passed.
            const values = { position: clock(slider.value - 500), duration: clock(this.#duration) };
            setText(position, values.position);
            setText(duration, values.duration);
            slider.describe(text('positionOf', values));
        });
        slider.input.addEventListener('input', () => this.#draw());
        return element('div', { class: 'player-seek' }, position, slider.element, duration);
    }

    #makeVolume() {
        const player = this.#player;
        const mute = iconButton('volume', text('mute'), () => this.#toggleSound());
        const slider = new Slider(text('volume'), 5);
        slider.max = 100;
        slider.input.addEventListener('input', () => void player.setVolume(slider.value));
        this.#updates.push(() => {
            const silent = player.volume === 0;
            dress(mute, silent ? 'muted' : 'volume', text(silent ? 'unmute' : 'mute'));
            slider.value = player.volume;
            slider.describe(text('percent', { percent: player.volume }));
        });
        return element('div', { class: 'player-volume' }, mute, slider.element);
    }

    #toggleSound() {
        const { volume } = this.#player;
        if (volume > 0) this.#volumeBefore = volume;
        void this.#player.setVolume(volume > 0 ? 0 : this.#volumeBefore);
    }

    #makeOutput() {
        const choice = new OutputChoice(this.#player, this.#output);
        this.#updates.push(() => choice.draw());
        return choice.element;
    }

    #showGivenUp() {
        const { current } = this.#player;
        if (current && this.#queue.count > 1) toast(text('troubleGivenUp', { title: isolated(current.title) }));
    }

    /** Draws once in a frame; in a hidden page not at all. */
    #draw() {
        if (this.#drawing) return;
        this.#drawing = true;
        requestAnimationFrame(() => {
            this.#drawing = false;
            this.toggleAttribute('empty', !this.#player.current);
            for (const update of this.#updates) update();
            this.#announce();
        });
    }

    /** Says what plays when that changes by itself or by command, not while it only goes on. */
    #announce() {
        const { current, state } = this.#player;
        const said = current && state === 'playing' ? [current.title, current.artist].filter(Boolean).join(', ') : '';
        if (!said || said === this.#announced) return;
        this.#announced = said;
        setText(this.#status, text('nowPlays', { title: isolated(said) }));
    }

    /** The space bar plays and pauses where it means nothing else, and with Ctrl everywhere. @param {KeyboardEvent} event */
    #onKey(event) {
        const { ctrlKey, altKey, metaKey, shiftKey } = event;
        if (event.key !== ' ' || event.defaultPrevented || altKey || metaKey || shiftKey) return;
        if (!ctrlKey && event.target instanceof Element && event.target.closest(usesSpace)) return;
        event.preventDefault();
        void this.#player.toggle();
    }
}

const usesSpace =
    'input, textarea, select, button, a, summary, [contenteditable], [role=button], [role=option], [role=row], ' +
    '[role=listbox], [role=grid], [role=menu], [role=menuitem]';

/** @type {Record<import('./player.js').Repeat, import('./player.js').Repeat>} */
const afterRepeat = { off: 'all', all: 'one', one: 'off' };

/** @type {Record<import('./player.js').Repeat, 'repeatOff' | 'repeatAll' | 'repeatOne'>} */
const repeatKeys = { off: 'repeatOff', all: 'repeatAll', one: 'repeatOne' };

/** @type {Record<import('./output.js').Reason, import('./language.js').Key>} */
const troubles = { gone: 'troubleGone', format: 'troubleFormat', unreachable: 'troubleUnreachable', blocked: 'troubleBlocked' };

/** @param {import('./output.js').Trouble} trouble */
function showTrouble({ entry, reason }) {
    toast(text(troubles[reason], { title: isolated(entry.title) }));
}

/** @param {HTMLButtonElement} worn @param {string} name @param {string} label */
function dress(worn, name, label) {
    setAttribute(worn, 'aria-label', label);
    setAttribute(worn, 'title', label);
    if (worn.dataset.icon === name) return;
    worn.dataset.icon = name;
    worn.replaceChildren(icon(name));
}

/** A queue and a player in memory, for tests of what a real one does only by chance: without walks and a store,
 * and with a shuffle that nobody has to guess: it reverses the queue. */

import { nameOf } from '../../../web/app/paths.js';

/** @typedef {import('./fake_host.js').FakeHost} FakeHost */
/** @typedef {{ path: string, title: string, type: string, value: string, mediaData: any }} Row */

const queuePath = '/playlist/';
const playerPath = '/playlist/player';
const outputsPath = '/playlist/outputs';

export class FakePlaylist {
    #host;
    #version = 1;
    #lastEdit = 1;
    #lastId = 0;
    /** What edits have removed, and what replaced it. @type {{ removed: Row[], added: Row[] }[]} */
    #undos = [];
    /** Answers by operation. @type {Map<string, any>} */
    #answers = new Map();
    /** How many clients hold each output. @type {Map<string, number>} */
    #outputs = new Map();

    /** @type {Row[]} */
    rows = [];

    /** Reports of outputs, in order. @type {any[]} */
    reports = [];

    /** The files at and below a path. @type {(path: string) => string[]} */
    filesAt = (path) => this.#host.directories.get(path)?.rows.map((row) => row.path) ?? [path];

    /** The time of the host, in ms. */
    clock = () => Date.now();

    player = {
        state: 'stopped',
        current: /** @type {number | null} */ (null),
        position: 0,
        at: 0,
        serial: 0,
        output: /** @type {string | null} */ (null),
        volume: 100,
        repeat: 'off',
        shuffle: false,
        failed: /** @type {number | null} */ (null),
    };

    /** @param {FakeHost} host */
    constructor(host) {
        this.#host = host;
        host.roots.push({ prefix: '/playlist', title: 'Queue', kind: 'playlist', contextMenu: '/playlist/menu/context' });
        host.presence = {
            covers: (path) => path.startsWith(`${outputsPath}/`),
            opened: (path) => this.#hold(nameOf(path), 1),
            closed: (path) => this.#hold(nameOf(path), -1),
        };
        this.#showRows();
        this.#showOutputs();
        const { player } = this;
        const value = () => ({ ...player, next: this.#next(1, player.repeat), now: this.clock() });
        const row = { path: playerPath, get value() { return value(); } };
        host.directories.set(playerPath, { rows: [row], version: 1 });
        this.#serveEdits();
        this.#serveCommands();
    }

    // Edits

    #serveEdits() {
        this.#edit('playNow', (paths) => this.#insert(paths, this.#currentPlace + 1, true));
        this.#edit('playNext', (paths) => this.#insert(paths, this.#currentPlace + 1, false));
        this.#edit('addToQueue', (paths) => this.#insert(paths, this.rows.length, false));
        this.#edit('replaceQueue', (paths) => {
            const { undo } = this.#remove(this.rows.map(idOf));
            const answer = this.#insert(paths, 0, true);
            this.#undos[undo].added = this.rows;
            return { ...answer, undo };
        });
        this.#edit('remove', (ids) => this.#remove(ids));
        this.#edit('clear', () => this.#remove(this.rows.map(idOf)));
        this.#edit('move', ({ ids, after }) => this.#move(ids, after));
        this.#edit('shuffleQueue', () => {
            this.rows = this.rows.slice().reverse();
            return {};
        });
        this.#edit('undo', (number) => {
            const { removed, added } = this.#undos[number];
            const concerned = new Set([...removed, ...added].map(idOf));
            const others = this.rows.filter((row) => !concerned.has(idOf(row)));
            this.rows = [...others, ...removed].sort((one, other) => idOf(one) - idOf(other));
            return {};
        });
    }

    /** @param {string} name @param {(value: any) => any} act */
    #edit(name, act) {
        this.#host.services.set(queuePath + name, (wrapped) => {
            const { value, version, operation } = isWrapped(wrapped) ? wrapped : { value: wrapped };
            if (this.#answers.has(operation)) return this.#answers.get(operation);
            if (version !== undefined && version < this.#lastEdit) throw refusal('conflict');
            const answer = act(value);
            this.#lastEdit = this.#version + 1;
            this.#showRows();
            this.#showPlayer();
            const full = { ...answer, version: this.#version };
            if (operation) this.#answers.set(operation, full);
            return full;
        });
    }

    /** @param {string | string[]} paths @param {number} place @param {boolean} plays */
    #insert(paths, place, plays) {
        const files = [paths].flat().flatMap((path) => this.filesAt(path));
        if (files.length === 0) throw refusal('noSuchItem');
        const rows = files.map((path) => rowOf(++this.#lastId, path));
        this.rows.splice(place, 0, ...rows);
        if (plays) this.#start(idOf(rows[0]), this.player.output ? 'playing' : 'paused');
        return { added: rows.length, first: idOf(rows[0]) };
    }

    /** @param {number[]} ids */
    #remove(ids) {
        const present = new Set(this.rows.map(idOf));
        if (ids.some((id) => !present.has(id))) throw refusal('noSuchItem');
        const { current } = this.player;
        const heir = current !== null && ids.includes(current) ? this.#next(1) : current;
        const gone = new Set(ids);
        this.#undos.push({ removed: this.rows.filter((row) => gone.has(idOf(row))), added: [] });
        this.rows = this.rows.filter((row) => !gone.has(idOf(row)));
        if (heir !== current) this.#start(heir, heir === null ? 'stopped' : this.player.state);
        return { undo: this.#undos.length - 1 };
    }

    /** @param {number[]} ids @param {number | 'head'} after */
    #move(ids, after) {
        const moved = ids.map((id) => /** @type {Row} */ (this.rows.find((row) => idOf(row) === id)));
        const others = this.rows.filter((row) => !moved.includes(row));
        const place = after === 'head' ? 0 : others.findIndex((row) => idOf(row) === after) + 1;
        this.rows = [...others.slice(0, place), ...moved, ...others.slice(place)];
        return {};
    }

    /** Files got other tags. @param {(row: Row) => void} change */
    describe(change) {
        this.rows = this.rows.map((row) => ({ ...row }));
        this.rows.forEach(change);
        this.#showRows();
    }

    // Commands

    #serveCommands() {
        const { player } = this;
        this.#command('play', (id) => {
            if (player.output === null) throw refusal('noOutput');
            if (id === null && player.current !== null) this.#mark('playing');
            else this.#start(id ?? idOf(this.rows[0]), 'playing');
        });
        this.#command('pause', () => player.state === 'playing' && this.#mark('paused'));
        this.#command('stop', () => this.#start(player.current, 'stopped'));
        this.#command('next', () => this.#follow(this.#next(1)));
        this.#command('previous', () => this.#follow(this.#next(-1) ?? player.current));
        this.#command('seek', (position) => this.#mark(player.state, position));
        this.#command('volume', (volume) => (player.volume = volume));
        this.#command('repeat', (repeat) => (player.repeat = repeat));
        this.#command('shuffle', (on) => (player.shuffle = on));
        this.#command('output', (name) => {
            if (name !== null && !this.#outputs.has(name)) throw refusal('noOutput');
            this.#mark(name === null && player.state === 'playing' ? 'paused' : player.state);
            player.output = name;
        });
    }

    /** @param {string} name @param {(value: any) => void} act */
    #command(name, act) {
        this.#host.services.set(`${playerPath}/${name}`, (value) => {
            act(value);
            this.player.serial += 1;
            this.#showPlayer();
            return { serial: this.player.serial };
        });
    }

    /** @param {any} report @param {string} name */
    #report(report, name) {
        const { player } = this;
        this.reports.push(report);
        if (player.output !== name) throw refusal('noOutput');
        const { id, state, position, serial, error } = report;
        const next = this.#next(1, player.repeat);
        if (serial < player.serial || (id !== player.current && id !== next)) return {};
        if (error) player.failed = id;
        else if (state === 'playing') player.failed = null;
        if (state === 'ended') this.#follow(next);
        else if (state === 'error') this.#follow(this.#next(1));
        else Object.assign(player, { current: id, position, at: this.clock() });
        this.#showPlayer();
        return {};
    }

    get position() {
        const { state, position, at } = this.player;
        return state === 'playing' ? position + this.clock() - at : position;
    }

    /** @param {string} state @param {number} [position] */
    #mark(state, position = this.position) {
        Object.assign(this.player, { state, position, at: this.clock() });
    }

    /** @param {number | null} id @param {string} state */
    #start(id, state) {
        Object.assign(this.player, { current: id, state, position: 0, at: this.clock(), serial: this.player.serial + 1 });
    }

    /** @param {number | null} id */
    #follow(id) {
        this.#start(id ?? this.player.current, id === null ? 'stopped' : this.player.state);
    }

    /** @param {1 | -1} step @param {string} [repeat] @returns {number | null} */
    #next(step, repeat = 'off') {
        if (repeat === 'one') return this.player.current;
        const place = this.#currentPlace;
        const row = place < 0 ? undefined : this.rows[place + step];
        return row ? idOf(row) : null;
    }

    get #currentPlace() {
        return this.rows.findIndex((row) => idOf(row) === this.player.current);
    }

    // Outputs

    get outputs() {
        return [...this.#outputs.keys()];
    }

    /** @param {string} name @param {1 | -1} change */
    #hold(name, change) {
        const holders = (this.#outputs.get(name) ?? 0) + change;
        if (holders > 0) this.#outputs.set(name, holders);
        else this.#outputs.delete(name);
        this.#host.services.set(`${outputsPath}/${encodeURIComponent(name)}/report`, (report) => this.#report(report, name));
        this.#showOutputs();
        if (holders > 0 || this.player.output !== name) return;
        this.#mark(this.player.state === 'playing' ? 'paused' : this.player.state);
        this.player.output = null;
        this.#showPlayer();
    }

    // What clients see

    #showRows() {
        this.#host.directories.set(queuePath, { rows: this.rows.slice(), version: ++this.#version });
        this.#host.notify(queuePath, ['reset'], this.#version);
    }

    #showPlayer() {
        this.#host.notify(playerPath, ['reset']);
    }

    #showOutputs() {
        const rows = this.outputs.map((name) => ({ path: `${outputsPath}/${encodeURIComponent(name)}`, title: name }));
        this.#host.directories.set(outputsPath, { rows, version: 1 });
        this.#host.notify(outputsPath, ['reset']);
    }
}

/** @param {{ path: string }} row */
function idOf(row) {
    return Number(nameOf(row.path));
}

/** The names of some sounds say how long they are. @param {number} id @param {string} path @returns {Row} */
function rowOf(id, path) {
    const name = nameOf(path);
    const duration = Number(/(\d+) ms.wav$/.exec(name)?.[1] ?? 1500);
    const mediaData = { metaData: { artist: 'Ann', album: 'Blue' }, resources: [{ duration, uri: `media${path}` }] };
    return { path: `${queuePath}queue/${id}`, title: `Title of ${name}`, type: 'audio', value: path, mediaData };
}

/** @param {any} value */
function isWrapped(value) {
    return typeof value === 'object' && value !== null && !Array.isArray(value) && 'operation' in value;
}

/** @param {string} name */
function refusal(name) {
    return { code: -32000, message: name, data: { name, message: name, title: 'Error' } };
}

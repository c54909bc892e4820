/** Keyboard, mouse and touch of a folder's list, as commands. */

/**
 * @typedef {object} FolderCommands
 * @property {(target: EventTarget | null) => number} indexAt -1 without a row there
 * @property {(index: number) => void} select this one alone
 * @property {(index: number) => void} toggle
 * @property {(index: number) => void} extend the selection to a row
 * @property {() => void} selectAll
 * @property {(step: 'up' | 'down' | 'pageUp' | 'pageDown' | 'first' | 'last', extend: boolean) => void} move the focus
 * @property {(index: number) => void} activate opens or plays
 * @property {() => void} activateFocus
 * @property {() => void} toggleFocus
 * @property {() => void} leave for the folder above
 * @property {() => void} escape
 * @property {(letter: string) => void} typeAhead
 * @property {() => boolean} typing whether a name is being typed
 * @property {(index: number, at: { x: number, y: number }) => void} openMenu
 * @property {() => void} openFocusMenu
 * @property {(index: number, at: { x: number, y: number }) => void} press a finger holds a row
 * @property {() => boolean} selecting whether a tap selects rather than opens
 */

const longPress = 500;
const stillness = 10;

const moves = /** @type {const} */ ({
    ArrowUp: 'up',
    ArrowDown: 'down',
    PageUp: 'pageUp',
    PageDown: 'pageDown',
    Home: 'first',
    End: 'last',
});

/**
 * @param {HTMLElement} list
 * @param {FolderCommands} commands
 */
export function listenToKeys(list, commands) {
    list.addEventListener('keydown', (event) => {
        list.classList.remove('by-pointer');
        if (event.target === list && handleKey(event, commands)) event.preventDefault();
    });
}

/**
 * @param {KeyboardEvent} event
 * @param {FolderCommands} commands
 * @returns {boolean} whether the key means something here
 */
function handleKey(event, commands) {
    const { key } = event;
    const control = event.ctrlKey || event.metaKey;
    if (control && key.toLowerCase() === 'a') commands.selectAll();
    else if (event.altKey || control) return false;
    else if (key in moves) commands.move(moves[/** @type {keyof typeof moves} */ (key)], event.shiftKey);
    else if (key === 'ContextMenu' || (key === 'F10' && event.shiftKey)) commands.openFocusMenu();
    else if (key === 'Enter') commands.activateFocus();
    else if (key === 'Backspace') commands.leave();
    else if (key === 'Escape') commands.escape();
    else if (key === ' ' && !commands.typing()) commands.toggleFocus();
    else if (key.length === 1 && key !== '/' && key !== '?') commands.typeAhead(key);
    else return false;
    return true;
}

/**
 * A click selects and a double click activates; on touch a tap activates, and a long press selects and opens the menu.
 * While entries are selected that way, a tap selects further ones.
 * @param {HTMLElement} list
 * @param {FolderCommands} commands
 */
export function listenToPointer(list, commands) {
    let touched = false;
    list.addEventListener('pointerdown', (event) => {
        touched = event.pointerType === 'touch';
        // The ring around the row with the focus is for who uses the keyboard.
        list.classList.add('by-pointer');
    });
    list.addEventListener('click', (event) => {
        const index = commands.indexAt(event.target);
        if (index < 0) return;
        if (isMenuButton(event.target)) commands.openMenu(index, below(/** @type {Element} */ (event.target)));
        else if (touched) tap(index, commands);
        else if (event.shiftKey) commands.extend(index);
        else if (event.ctrlKey || event.metaKey) commands.toggle(index);
        else commands.select(index);
    });
    list.addEventListener('dblclick', (event) => {
        const index = commands.indexAt(event.target);
        if (index >= 0 && !touched && !isMenuButton(event.target)) commands.activate(index);
    });
    listenToMenuRequests(list, commands, () => touched);
}

/**
 * @param {number} index
 * @param {FolderCommands} commands
 */
function tap(index, commands) {
    if (commands.selecting()) commands.toggle(index);
    else commands.activate(index);
}

/**
 * The right button, and a long press. Some browsers report a long press as the right button, others not at all.
 * @param {HTMLElement} list
 * @param {FolderCommands} commands
 * @param {() => boolean} touched
 */
function listenToMenuRequests(list, commands, touched) {
    list.addEventListener('contextmenu', (event) => {
        event.preventDefault();
        const index = commands.indexAt(event.target);
        if (touched()) return;
        if (index >= 0) commands.openMenu(index, { x: event.clientX, y: event.clientY });
        else commands.openFocusMenu();
    });
    list.addEventListener('pointerdown', (event) => {
        const index = commands.indexAt(event.target);
        if (event.pointerType !== 'touch' || index < 0 || isMenuButton(event.target)) return;
        press(list, event, () => {
            commands.press(index, { x: event.clientX, y: event.clientY });
        });
    });
}

/**
 * @param {HTMLElement} list
 * @param {PointerEvent} start
 * @param {() => void} held called if the finger stays down and still
 */
function press(list, start, held) {
    const over = new AbortController();
    const timer = setTimeout(() => {
        over.abort();
        // When the finger is lifted, that is no tap.
        list.addEventListener('touchend', (event) => event.preventDefault(), { once: true, passive: false });
        held();
    }, longPress);
    over.signal.addEventListener('abort', () => clearTimeout(timer));
    const { signal } = over;
    for (const end of ['pointerup', 'pointercancel']) list.addEventListener(end, () => over.abort(), { signal });
    list.addEventListener(
        'pointermove',
        (event) => {
            if (Math.hypot(event.clientX - start.clientX, event.clientY - start.clientY) > stillness) over.abort();
        },
        { signal },
    );
}

/** @param {EventTarget | null} target */
function isMenuButton(target) {
    return target instanceof Element && target.closest('.more') !== null;
}

/** @param {Element} target */
function below(target) {
    const box = (target.closest('.more') ?? target).getBoundingClientRect();
    return { x: box.left, y: box.bottom };
}

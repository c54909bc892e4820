import { currentPath } from './place.js';
import { Rows } from './rows.js';
import { Session } from './session.js';

/** Connects, asks for the folder in the address and fetches the texts, while the browser still loads the rest of the page. */

/**
 * The languages besides English, whose texts are part of the page.
 * @type {Record<string, () => Promise<{ default: import('./language.js').Texts }>>}
 */
const others = { de: () => import('./languages/de.js') };

/** The first of the browser's languages that the page has, as a tag for `lang`. */
export const language = navigator.languages.map(withoutRegion).find((tag) => tag === 'en' || tag in others) ?? 'en';

export const session = newSession();
session.start();

/** The folder in the address; null if it names none. */
export const firstRows = location.hash === '' ? null : new Rows(session, currentPath());
void firstRows?.start();

/** The texts in that language; null for English, and where they cannot be fetched. */
export const translation = fetchTexts();

/** @param {string} tag for example `de-AT` */
function withoutRegion(tag) {
    return tag.toLowerCase().split('-')[0];
}

async function fetchTexts() {
    if (language === 'en') return null;
    try {
        return (await others[language]()).default;
    } catch {
        return null;
    }
}

/** The page's session: beside the page, whatever path a proxy serves it under. */
function newSession() {
    const address = new URL('session', document.baseURI);
    address.protocol = address.protocol.replace('http', 'ws');
    const made = new Session({ connect: () => new WebSocket(address), signInNeeded, language });
    addEventListener('online', () => made.wake());
    addEventListener('focus', () => made.wake());
    return made;
}

/** The server refuses WebSockets without saying why; a request tells. */
async function signInNeeded() {
    const answer = await fetch('rpc', {
        method: 'POST',
        headers: { 'Content-Type': 'application/json' },
        body: JSON.stringify({ jsonrpc: '2.0', id: 1, method: 'rows', params: { path: '/', last: -1 } }),
    });
    return answer.status === 401;
}

import { currentPath } from './place.js';
import { Rows } from './rows.js';
import { Session } from './session.js';

/** Connects and asks for the folder in the address, while the browser still loads the rest of the page. */

export const session = newSession();
session.start();

/** The folder in the address; null if it names none. */
export const firstRows = location.hash === '' ? null : new Rows(session, currentPath());
void firstRows?.start();

/** The page's session: beside the page, whatever path a proxy serves it under. */
function newSession() {
    const address = new URL('session', document.baseURI);
    address.protocol = address.protocol.replace('http', 'ws');
    const made = new Session({ connect: () => new WebSocket(address), signInNeeded });
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

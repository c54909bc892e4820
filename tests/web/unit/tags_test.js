import assert from 'node:assert/strict';
import { afterEach, beforeEach, mock, test } from 'node:test';

import { SessionError } from '../../../web/app/session.js';
import { TagReader } from '../../../web/app/tags.js';
import { TreeSession } from '../support/tree_session.js';

const path = '/file/a.opus';

// Pauses take no time.
beforeEach(() => void mock.method(globalThis, 'setTimeout', (/** @type {() => void} */ run) => setImmediate(run)));
afterEach(() => mock.restoreAll());

/** A reader of the tags of one entry; `titles` grows with each title that it reads. */
function setUp() {
    const session = new TreeSession({ 'a.opus': 'Ann' });
    const entries = [{ path }];
    /** @type {(string | undefined)[]} */
    const titles = [];
    const reader = new TagReader(
        /** @type {any} */ (session),
        (size) => entries.slice(0, size),
        (batch, tags) => {
            entries.splice(0, batch.length);
            titles.push(tags.get(path)?.title);
        },
    );
    return { session, reader, titles };
}

/** Makes a method fail once. @param {any} session @param {string} method @param {Error} error */
function failOnce(session, method, error) {
    session[method] = async () => {
        delete session[method];
        throw error;
    };
}

/** @param {number} code */
function refusal(code) {
    return new SessionError({ code, message: 'later' });
}

for (const code of [-32002, -32004]) {
    for (const method of ['describe', 'set']) {
        test(`tags are read later if the host refuses ${method} with ${code}`, { timeout: 15000 }, async () => {
            const { session, reader, titles } = setUp();
            failOnce(session, method, refusal(code));
            await reader.run();
            assert.deepEqual(titles, ['Title of a.opus']);
        });
    }
}

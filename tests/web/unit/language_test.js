import assert from 'node:assert/strict';
import { readdir } from 'node:fs/promises';
import { afterEach, test } from 'node:test';

import { clock, isolated, spokenDuration, text, useLanguage } from '../../../web/app/language.js';
import german from '../../../web/app/languages/de.js';
import english from '../../../web/app/languages/en.js';

/** @typedef {string | import('../../../web/app/language.js').Forms} Text */

const folder = new URL('../../../web/app/languages/', import.meta.url);

afterEach(() => useLanguage('en', english));

/**
 * Each language's tag and texts.
 * @returns {Promise<[string, Record<string, Text>][]>}
 */
async function catalogues() {
    const files = await readdir(folder);
    return Promise.all(files.map(async (file) => [file.replace('.js', ''), (await import(new URL(file, folder).href)).default]));
}

/** @param {Text} entry */
function formsOf(entry) {
    return typeof entry === 'string' ? { other: entry } : entry;
}

/** The names in braces. @param {string} form */
function placeholders(form) {
    return [...form.matchAll(/\{(\w+)\}/g)].map(([, name]) => name).sort();
}

test('texts are English until another language is chosen', () => {
    assert.equal(text('foldersCount', { count: 1 }), '1 folder');
    assert.equal(text('foldersCount', { count: 2000 }), '2,000 folders');
    useLanguage('de', german);
    assert.equal(text('foldersCount', { count: 2000 }), '2.000 Ordner');
    assert.equal(text('added', { count: 1 }), '1 Eintrag zur Warteschlange hinzugefügt');
});

test('a language has as many forms as it needs', () => {
    useLanguage('pl', { ...english, foldersCount: { one: '{count} folder', few: '{count} foldery', other: '{count} folderów' } });
    const counted = [1, 2, 5].map((count) => text('foldersCount', { count }));
    assert.deepEqual(counted, ['1 folder', '2 foldery', '5 folderów']);
});

test('braces in a value stay as they are', () => {
    assert.equal(text('more', { name: isolated('{name}') }), 'More actions for \u2068{name}\u2069');
});

test('a duration reads as on a clock', () => {
    assert.deepEqual([0, 59499, 245000, 3723000].map(clock), ['0:00', '0:59', '4:05', '1:02:03']);
});

test('a duration is said in hours and minutes', () => {
    useLanguage('de', german);
    assert.deepEqual([20000, 3900000].map(spokenDuration), ['1\u00a0Min.', '1\u00a0Std. 5\u00a0Min.']);
});

test('every language has every text, and no others', async () => {
    for (const [tag, texts] of await catalogues()) {
        assert.deepEqual(Object.keys(texts), Object.keys(english), tag);
    }
});

test('a translation takes the same values as the English text', async () => {
    for (const [tag, texts] of await catalogues()) {
        for (const [key, entry] of Object.entries(texts)) {
            const expected = placeholders(formsOf(english[/** @type {keyof typeof english} */ (key)]).other);
            for (const form of Object.values(formsOf(entry))) assert.deepEqual(placeholders(form), expected, `${tag}: ${key}`);
        }
    }
});

test('a text that depends on a number has the forms of its language', async () => {
    for (const [tag, texts] of await catalogues()) {
        const known = new Intl.PluralRules(tag).resolvedOptions().pluralCategories;
        for (const [key, entry] of Object.entries(texts)) {
            const unknown = Object.keys(formsOf(entry)).filter((form) => !known.some((category) => category === form));
            assert.deepEqual(unknown, [], `${tag}: ${key}`);
        }
    }
});

test('a translation is no copy of the English text but where the word is the same', () => {
    /** @type {(keyof typeof english)[]} */
    const alike = ['browser', 'capAlt', 'capEscape', 'pause', 'queueSummary', 'seek', 'token', 'video'];
    const copied = Object.entries(german).filter(([key, entry]) => entry === english[/** @type {keyof typeof english} */ (key)]);
    assert.deepEqual(copied.map(([key]) => key).sort(), alike);
});

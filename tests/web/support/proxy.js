import { execFile, spawn } from 'node:child_process';
import { once } from 'node:events';
import { readFile, writeFile } from 'node:fs/promises';
import { request } from 'node:https';
import { createServer } from 'node:net';
import { join } from 'node:path';
import { createInterface } from 'node:readline';
import { promisify } from 'node:util';

/** nginx in front of the host, as docs/server.md configures it. */

const document = new URL('../../../docs/server.md', import.meta.url);
export const name = 'home.example';

/**
 * Starts nginx and waits until it serves.
 * @param {string} directory for its files
 * @param {number} hostPort where it finds the host
 */
export async function startProxy(directory, hostPort) {
    const certificate = join(directory, 'certificate.pem');
    const key = join(directory, 'key.pem');
    await makeCertificate(certificate, key);
    const port = await freePort();
    const replacements = /** @type {[string, string][]} */ ([
        ['listen 443 ssl;', `listen 127.0.0.1:${port} ssl;`],
        ['/etc/ssl/certs/home.example.pem', certificate],
        ['/etc/ssl/private/home.example.key', key],
        ['http://127.0.0.1:8420/', `http://127.0.0.1:${hostPort}/`],
    ]);
    const configuration = join(directory, 'nginx.conf');
    await writeFile(configuration, around(replaceAll(await documented(), replacements)));
    const child = await startNginx(directory, configuration);
    const ca = await readFile(certificate);
    return {
        port,
        /** @type {(target: string, options?: import('node:https').RequestOptions, body?: string) => ReturnType<typeof ask>} */
        ask: (target, options, body) => ask({ port, ca, path: target, ...options }, body),
        stop: () => stop(child),
    };
}

/** The block of the document that is nginx's. */
async function documented() {
    const text = await readFile(document, 'utf8');
    const blocks = text.match(/(?:^ {4}.*\n|^\n(?= {4}))+/gm) ?? [];
    const found = blocks.filter((block) => block.includes('proxy_pass'));
    if (found.length !== 1) throw new Error(`docs/server.md has ${found.length} configurations of nginx`);
    return found[0];
}

/**
 * @param {string} text
 * @param {[string, string][]} replacements each of them occurs once
 */
function replaceAll(text, replacements) {
    return replacements.reduce((result, [from, to]) => {
        if (result.split(from).length !== 2) throw new Error(`docs/server.md has no ${from}`);
        return result.replace(from, to);
    }, text);
}

/**
 * What a system's own configuration has around the files of `conf.d`, with all files in the current folder.
 * @param {string} text
 */
function around(text) {
    const folders = ['client_body', 'proxy', 'fastcgi', 'scgi', 'uwsgi'];
    return [
        'daemon off;',
        'master_process off;',
        'pid pid;',
        'error_log stderr notice;',
        'events {}',
        'http {',
        'access_log off;',
        ...folders.map((folder) => `${folder}_temp_path ${folder};`),
        text,
        '}',
    ].join('\n');
}

/**
 * @param {string} certificate
 * @param {string} key
 */
async function makeCertificate(certificate, key) {
    const kind = ['-x509', '-newkey', 'ec', '-pkeyopt', 'ec_paramgen_curve:P-256', '-nodes', '-days', '2'];
    const subject = ['-subj', `/CN=${name}`, '-addext', `subjectAltName=DNS:${name}`];
    await promisify(execFile)('openssl', ['req', ...kind, ...subject, '-out', certificate, '-keyout', key]);
}

/** A port that nobody listens at. Another program can take it, but the system gives it away late. */
async function freePort() {
    const server = createServer().listen(0, '127.0.0.1');
    await once(server, 'listening');
    const { port } = /** @type {import('node:net').AddressInfo} */ (server.address());
    server.close();
    await once(server, 'close');
    return port;
}

/**
 * @param {string} directory
 * @param {string} configuration
 */
async function startNginx(directory, configuration) {
    const options = ['-e', 'stderr', '-p', directory, '-c', configuration];
    // Users have no directory of system programs in their path.
    const child = spawn('/usr/sbin/nginx', options, { stdio: ['ignore', 'ignore', 'pipe'] });
    const messages = [];
    for await (const line of createInterface({ input: child.stderr })) {
        messages.push(line);
        // Its sockets are open by then.
        if (line.includes('event method')) {
            child.stderr.resume();
            return child;
        }
    }
    throw new Error(`nginx does not start: ${messages.join('\n')}`);
}

/** @param {import('node:child_process').ChildProcess} child */
async function stop(child) {
    const ended = once(child, 'exit');
    child.kill('SIGTERM');
    await ended;
}

/**
 * One request, as a program on another machine would make it.
 * @param {import('node:https').RequestOptions} options
 * @param {string} [body]
 * @returns {Promise<{ status: number, headers: import('node:http').IncomingHttpHeaders, body: Buffer }>}
 */
function ask(options, body = '') {
    return new Promise((resolve, reject) => {
        const headers = { Host: name, ...options.headers };
        const sent = request({ host: '127.0.0.1', servername: name, agent: false, ...options, headers });
        sent.on('error', reject);
        sent.on('upgrade', (response, socket) => {
            socket.destroy();
            resolve({ status: response.statusCode ?? 0, headers: response.headers, body: Buffer.alloc(0) });
        });
        sent.on('response', (response) => {
            /** @type {Buffer[]} */
            const parts = [];
            response.on('data', (part) => parts.push(part));
            response.on('end', () => {
                resolve({ status: response.statusCode ?? 0, headers: response.headers, body: Buffer.concat(parts) });
            });
        });
        sent.end(body);
    });
}

// Sends the mail of the benchmark with Nodemailer; arguments as sender.cpp's.
import nodemailer from 'nodemailer';

const entries = process.argv.slice(4).map((argument) => {
    const equals = argument.indexOf('=');
    return [argument.slice(0, equals), argument.slice(equals + 1)];
});
const options = Object.fromEntries(entries);
const pathsOf = (kind) => entries.filter(([name]) => name === kind).map(([, path]) => path);
const times = Number(process.argv[3]);

async function send() {
    const transport = nodemailer.createTransport({
        host: '127.0.0.1',
        port: Number(options.port),
        secure: false,
        requireTLS: options.tls === '1',
        ignoreTLS: options.tls !== '1',
        tls: {rejectUnauthorized: options.verify === '1'},
        auth: {user: 'user', pass: 'password'},
    });
    await transport.sendMail({
        from: 'sender@example.org',
        to: Array.from({length: Number(options.recipients ?? 1)}, (_, n) => `recipient${n}@example.org`),
        subject: 'Measured',
        text: ('x'.repeat(62) + '\n').repeat(Math.ceil(Number(options.body ?? 16) / 64)),
        html: options.html,
        attachments: [
            ...pathsOf('picture').map((path) => ({path, cid: path})),
            ...pathsOf('attach').map((path) => ({path})),
        ],
    });
    transport.close();
}

if (times > 1) {
    await send();
}
const before = process.resourceUsage();
const begin = process.hrtime.bigint();
for (let sent = 0; sent < times; ++sent) {
    await send();
}
const seconds = Number(process.hrtime.bigint() - begin) / 1e9;
const after = process.resourceUsage();
const cpu = after.userCPUTime + after.systemCPUTime - before.userCPUTime - before.systemCPUTime;
console.log(JSON.stringify({seconds, cpu: cpu / 1e6, peak_kib: after.maxRSS - before.maxRSS}));

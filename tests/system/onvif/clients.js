// A camera through a client of npm: connects with its own functions and prints what it found, then does what standard
// input says, one line after the other: {"operation", "content"} as the client's own message to the analytics service,
// {"ptz", "options"} with the client's own function, {"events"}: "properties", "begin", "next", "end" likewise. Prints one
// line of JSON for each; a refusal is {"error"}.
//
// usage: node clients.js CLIENT HOST PORT USER PASSWORD   (in a folder in which the clients are installed)
'use strict';
const path = require('path');
const readline = require('readline');
const [name, host, port, user, password] = process.argv.slice(2);
const installed = (module) => require(path.join(process.cwd(), 'node_modules', module));
const TAN = 'http://www.onvif.org/ver20/analytics/wsdl';

const PROFILE = 'Profile_1';
const list = (some) => (some === undefined ? [] : [].concat(some));
const vector = ({ x, y, zoom }) => ({ x, y, z: zoom });
const items = (part) => Object.fromEntries(list(part && (part.simpleItem || part.SimpleItem)).map(({ $ }) => [$.Name, String($.Value)]));
const event = (topic, message) => ({
    topic: topic._,
    operation: message.$.PropertyOperation || '',
    source: items(message.source || message.Source),
    data: items(message.data || message.Data),
});
const named = (preset) => ({ token: preset.$.token, name: preset.Name || preset.name });

// What has come and was not asked for yet, or who waits for what comes next.
const messages = [];
let waits;
function arrived(message) {
    messages.push(message);
    if (waits) {
        waits();
    }
}

async function next() {
    if (messages.length === 0) {
        await new Promise((done, failed) => {
            const late = setTimeout(() => failed(new Error('no event came within 60 s')), 60000);
            waits = () => {
                clearTimeout(late);
                waits = undefined;
                done();
            };
        });
    }
    return messages.shift();
}

// Each: connect() gives what it found; call(operation, content) gives the answer's text. The content writes "tan:".
// ptz has the same functions for each client; a place, way or speed is {x, y, zoom}, a timeout seconds. properties() gives
// the answer's text; begin() has events given to arrived() until end().
const clients = {
    onvif() {
        const { Cam } = installed('onvif');
        let camera;
        return {
            connect: () => new Promise((done, failed) => {
                camera = new Cam({ hostname: host, port: Number(port), username: user, password }, (error) => {
                    if (error) {
                        failed(error);
                    } else {
                        camera.getDeviceInformation((problem, information) => (problem ? failed(problem) : done({
                            model: information.model,
                            profiles: camera.profiles.map((each) => each.$.token),
                            sources: camera.activeSources.map((each) => each.sourceToken),
                        })));
                    }
                });
            }),
            call: (operation, content) => new Promise((done, failed) => {
                const body = `${camera._envelopeHeader()}<tan:${operation} xmlns:tan="${TAN}">${content}</tan:${operation}>`;
                camera._request({ service: 'analytics', body: body + camera._envelopeFooter() },
                    (error, data, xml) => (error ? failed(error) : done(xml)));
            }),
            ptz: (name, options) => new Promise((done, failed) => {
                const [method, given, read] = {
                    absoluteMove: () => ['absoluteMove', options],
                    relativeMove: () => ['relativeMove', options],
                    continuousMove: () => ['continuousMove', { ...options, timeout: 1000 * options.timeout }],
                    stop: () => ['stop', {}],
                    setPreset: () => ['setPreset', { presetName: options },
                        (data) => data[0].setPresetResponse[0].presetToken[0]],
                    presets: () => ['getPresets', {}, (found) => Object.values(found).map(named)],
                    gotoPreset: () => ['gotoPreset', { preset: options }],
                    removePreset: () => ['removePreset', { presetToken: options }],
                }[name]();
                camera[method](given, (error, data) => (error ? failed(error) : done(read ? read(data) : 'done')));
            }),
            properties: () => new Promise((done, failed) => {
                camera.getEventProperties((error, data, xml) => (error ? failed(error) : done(xml)));
            }),
            begin: async () => {
                camera.on('eventsError', (error) => arrived(told(error)));
                camera.on('event', (message) => arrived(event(message.topic, message.message.message)));
            },
            end: () => new Promise((done, failed) => {
                camera.unsubscribe((error) => (error ? failed(error) : done()));
            }),
        };
    },
    'node-onvif'() {
        const { OnvifDevice } = installed('node-onvif');
        const soap = installed('node-onvif/lib/modules/soap.js');
        const device = new OnvifDevice({ xaddr: `http://${host}:${port}/onvif/device_service`, user, pass: password });
        const address = new (require('url').URL)(`http://${host}:${port}/onvif/analytics_service`);
        return {
            connect: async () => {
                const information = await device.init();
                return {
                    model: information.Model,
                    profiles: device.getProfileList().map((each) => each.token),
                    sources: device.getProfileList().map((each) => each.video.source.token),
                };
            },
            call: async (operation, content) => {
                const body = `<tan:${operation}>${content}</tan:${operation}>`;
                const message = soap.createRequestSoap({ body, xmlns: [`xmlns:tan="${TAN}"`], diff: device.time_diff, user, pass: password });
                return (await soap.requestCommand(require('url').parse(address.href), operation, message)).soap;
            },
            ptz: async (name, options) => {
                const [method, given, read] = {
                    absoluteMove: () => ['absoluteMove', { Position: vector(options) }],
                    relativeMove: () => ['relativeMove', { Translation: vector(options) }],
                    continuousMove: () => ['continuousMove', { Velocity: vector(options), Timeout: options.timeout }],
                    stop: () => ['stop', { PanTilt: true, Zoom: true }],
                    setPreset: () => ['setPreset', { PresetName: options }, (data) => data.SetPresetResponse.PresetToken],
                    presets: () => ['getPresets', {}, (data) => list(data.GetPresetsResponse.Preset).map(named)],
                    gotoPreset: () => ['gotoPreset', { PresetToken: options }],
                    removePreset: () => ['removePreset', { PresetToken: options }],
                }[name]();
                const { data } = await device.services.ptz[method]({ ProfileToken: PROFILE, ...given });
                return read ? read(data) : 'done';
            },
            properties: async () => (await device.services.events.getEventProperties()).soap,
        };
    },
    'onvif-nvt'() {
        let camera;
        let pulls = false;
        return {
            connect: async () => {
                camera = await installed('onvif-nvt').connect(host, Number(port), user, password);
                return {
                    model: camera.getInformation().Model,
                    profiles: camera.profileList.map((each) => each.$.token),
                    sources: camera.profileList.map((each) => each.VideoSourceConfiguration.SourceToken),
                };
            },
            call: async (operation, content) => (await camera.analytics.buildRequest(operation, content)).soap,
            ptz: async (name, options) => {
                const [method, given, read] = {
                    absoluteMove: () => ['absoluteMove', [vector(options)]],
                    relativeMove: () => ['relativeMove', [vector(options)]],
                    continuousMove: () => ['continuousMove', [vector(options), options.timeout]],
                    stop: () => ['stop', [true, true]],
                    setPreset: () => ['setPreset', [null, options], (data) => data.SetPresetResponse.PresetToken],
                    presets: () => ['getPresets', [], (data) => list(data.GetPresetsResponse.Preset).map(named)],
                    gotoPreset: () => ['gotoPreset', [options]],
                    removePreset: () => ['removePreset', [options]],
                }[name]();
                const { data } = await camera.ptz[method](PROFILE, ...given);
                return read ? read(data) : 'done';
            },
            properties: async () => (await camera.events.getEventProperties()).soap,
            begin: async () => {
                const reference = await camera.events._createPullPointSubscription();
                (async () => {
                    for (pulls = true; pulls;) {
                        const { data } = await camera.events.pullMessages(reference, 'PT5S', 100);
                        list(data.PullMessagesResponse.NotificationMessage)
                            .forEach((message) => arrived(event(message.Topic, message.Message.Message)));
                    }
                })().catch((error) => arrived(told(error)));
            },
            end: async () => { pulls = false; },
        };
    },
};

const told = (error) => ({ error: (error && (error.message || error.body || (error.fault && error.fault.reason))) || String(error) });
const say = (object) => process.stdout.write(`${JSON.stringify(object)}\n`);

(async () => {
    // What a client writes for people goes where it disturbs nobody.
    console.log = console.error;
    const client = clients[name]();
    try {
        say(await client.connect());
    } catch (error) {
        say(told(error));
        process.exit(0);
    }
    for await (const line of readline.createInterface({ input: process.stdin })) {
        const { operation, content, ptz, options, events } = JSON.parse(line);
        try {
            if (events) {
                say({ answer: (await (events === 'next' ? next() : client[events]())) || 'done' });
            } else {
                say({ answer: ptz ? await client.ptz(ptz, options) : await client.call(operation, content) });
            }
        } catch (error) {
            say(told(error));
        }
    }
    process.exit(0);
})();
